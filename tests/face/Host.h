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

// A framework in small: it knows the receiver by the framework's headers and by the library's name, and the compiler is
// shown nothing else.

namespace face {

using namespace Vx::Qrs::Trace;
using Vx::Qrs::Zarn::cZarnError;
using Vx::Qrs::Zarn::cZarnErrorIF;

std::string readBytes(const std::filesystem::path& file);
void writeBytes(const std::filesystem::path& file, const std::string& bytes);

/// "title(severity): text" of what a step throws, or "" when it throws nothing. Whatever is not of the framework's family
/// of errors is a failure of the test.
std::string failureOf(const std::function<void()>& step);

/// The folder of this process's runs on the bench, and the environment that leads there. It is made before the library
/// is first called and removed at the end of the process: the library settles its environment once per process.
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

/// Values of a settings file by their keys, where they differ from one data pin, "pti", 256 kB, stopped when full, not
/// following the target.
using Changes = std::map<std::string, std::string>;

/// The receiver on the bench, with one channel. All is given back in order when a test ends.
class FaceTest : public testing::Test {
protected:
    FaceTest();
    ~FaceTest() override;

    /// Loads the library by name and makes the receiver.
    void create(const std::string& scenario = "clean");
    /// A channel, driven through a transmitter object of the debugger's library.
    void allocate(const char* cpu = "bench/app");
    void destroy();

    std::filesystem::path writeSettings(const Changes& changes, const std::string& name = "chan.xml");
    void configure(const Changes& changes = {});
    ChannelStatus status();
    std::string attribute(const std::string& name);
    /// Until the text of the status holds `part`. The test's own time limit is the only one.
    void waitFor(const std::string& part);
    /// A recording to the end of its upload.
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
