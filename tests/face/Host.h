#pragma once

#include "Platform.h"
#include "rcvr/framework/CChannelDriver.h"
#include "rcvr/framework/CReceiver.h"
#include "rcvr/framework/IFileReplay.h"
#include "rcvr/framework/IPartIdentifier.h"
#include "rcvr/framework/ITargetAdapter.h"
#include "rcvr/framework/IXmtrLibrary.h"
#include "rcvr/framework/cZarnError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

// A small framework: it knows the receiver by the framework's headers and by the library's name only.

namespace face {

using namespace Vx::Qrs::Trace;
using Vx::Qrs::Zarn::cZarnError;
using Vx::Qrs::Zarn::cZarnErrorIF;

std::string readBytes(const std::filesystem::path& file);
void writeBytes(const std::filesystem::path& file, const std::string& bytes);

/// "title(severity): text" of the error that a step throws, or "" when it throws none. An error outside of the
/// framework's family fails the test.
std::string failureOf(const std::function<void()>& step);

/// The folder of this process's runs on the bench, and the environment that names it. Created before the library is
/// first called and removed at the end of the process: the library fixes its environment once per process.
class RunSpace {
public:
    static RunSpace& get();
    RunSpace(const RunSpace&) = delete;
    RunSpace& operator=(const RunSpace&) = delete;
    ~RunSpace();

    std::filesystem::path file(const std::string& name) const { return folder / name; }
    std::filesystem::path data(const std::string& name) const { return folder / ".VX-trace" / "data" / name; }
    std::filesystem::path log() const;
    /// Folder of the programs and libraries.
    std::filesystem::path programs() const;
    void useScenario(const std::string& name) const;

private:
    RunSpace();
    std::filesystem::path folder;
};

/// Values of a settings file by their keys. The defaults: one data pin, "pti", 256 kB, stop when full, not following
/// the target.
using Changes = std::map<std::string, std::string>;

/// The receiver on the bench, with one channel. Both are released in order when a test ends.
class FaceTest : public testing::Test {
protected:
    FaceTest();
    ~FaceTest() override;

    /// Loads the library by name and creates the receiver.
    void create(const std::string& scenario = "clean");
    /// A channel with a transmitter object of the debugger's library.
    void allocate(const char* cpu = "bench/app");
    void destroy();

    std::filesystem::path writeSettings(const Changes& changes, const std::string& name = "chan.xml");
    void configure(const Changes& changes = {});
    ChannelStatus status();
    std::string attribute(const std::string& name);
    /// Waits until the text of the status contains `part`, limited only by the test's own time limit.
    void waitFor(const std::string& part);
    /// Makes a recording and waits for the end of its upload.
    void recordUntilFull();

    RunSpace& space;
    CreateRcvrFunction createRcvr = nullptr;
    DestroyRcvrFunction destroyRcvr = nullptr;
    CreateXmtrFunction createXmtr = nullptr;
    DestroyXmtrFunction destroyXmtr = nullptr;
    CReceiver* receiver = nullptr;
    IXmtrLibrary* xmtr = nullptr;
    CChannelDriver* channel = nullptr;
};

} // namespace face
