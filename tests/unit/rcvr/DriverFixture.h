#pragma once

#include "FrontEndDouble.h"
#include "TestSupport.h"
#include "common/source/Exception.h"
#include "rcvr/ChannelDriver.h"
#include "rcvr/Error.h"
#include "rcvr/Receiver.h"

#include <functional>
#include <memory>

namespace rcvr_test {

using namespace Vx::Qrs::Trace;
using namespace Vx::Qrs::Trace::OrvRcvr;
using testing::_;
using testing::NiceMock;

inline constexpr const char* fullCpuName = "board/cpu";

/// Text of what a step throws, whatever family it is of; empty when it throws nothing.
inline std::string failureOf(const std::function<void()>& step) {
    try {
        step();
    } catch (const Error& error) {
        return std::string("Error ") + std::to_string(error.GetCode()) + ": " + error.GetErrorText();
    } catch (const Vx::Qrs::Zarn::cZarnError& error) {
        return std::string("cZarnError: ") + error.GetErrorText();
    } catch (const std::exception& exception) {
        return std::string("std: ") + exception.what();
    } catch (...) {
        return "unknown";
    }
    return "";
}

/// A receiver with stand-ins below it and one channel.
class DriverFixture : public testing::Test {
protected:
    explicit DriverFixture(const std::vector<std::string>& folders = {"part", "adapter"}) : siblings(folders) {
        device("unit kite\nport \"3\"\nentry\nparent STM\ntrace port\n"
               "pinout normal=pti=2,3;pti=2,3,4;pti=0,1,2,3,4;tpiu=3,2;tpiulite=4,5\n");
        frontEndSource() = {};
        frontEndSource().frontEnd = &frontEnd;
        ON_CALL(frontEnd, alloc).WillByDefault(testing::Return(&channel));
        ON_CALL(frontEnd, numChannels).WillByDefault(testing::Return(1));
        channel.properties = {{"targetSync", "true"}, {"file", folder.file("chan")},
                              {"orvBufSize", "1000"}, {"numPins", "4"},
                              {"drmXmtr", "pti"},     {"orvBufHasWrapped", "false"}};
        channel.metrics.threadDone = true;
    }
    ~DriverFixture() override { receiver.reset(); }

    void device(const std::string& lines) {
        writeBytes(folder.file("device.txt"), std::string("device ") + fullCpuName + "\n" + lines);
    }

    ChannelDriver& makeDriver() {
        if (!receiver) {
            receiver = std::make_unique<Receiver>();
        }
        driver = static_cast<ChannelDriver*>(receiver->AllocateChannel(fullCpuName, &xmtr, 5, 6));
        EXPECT_NE(driver, nullptr);
        return *driver;
    }

    std::string settingsFile(const std::string& name = "chan.xml", const std::string& changes = "") {
        std::string text = "<CHANNEL-SETUP>\n";
        text.append(changes);
        const auto add = [&](const char* key, const char* value) {
            const std::string tag = std::string("<").append(key).append(">");
            if (changes.find(tag) == std::string::npos) {
                text.append(tag).append(value).append("</").append(key).append(">\n");
            }
        };
        add("no_emu0", "false");
        add("drm_type", "");
        add("drm_key", "");
        add("num_pins", "2");
        add("pin_map", "");
        add("is_stop_on_full", "true");
        add("is_sync", "true");
        add("bufsize_current", "0");
        add("drm_xmtr", "pti");
        add("start_port", "0");
        text.append("</CHANNEL-SETUP>\n");
        const std::string path = folder.file(name);
        writeBytes(path, text);
        return path;
    }

    /// Where the driver puts the properties file, with the data folder there.
    std::string propertiesFile(const std::string& name = "chan.cfg") {
        std::string path;
        uEnvironment::getTraceDataDirectory(path);
        uEnvironment::joinPath(path, name.c_str());
        return path;
    }

    static client::Exception failure(const char* detail = "no answer") {
        return client::Exception("orv_client_frontend", 77, client::eDATASERVER, detail);
    }

    TemporaryFolder folder;
    Siblings siblings;
    ScopedVariable profile{"USERPROFILE", folder.path.string()};
    ScopedVariable deviceFile{"FAKE_DEVICE", folder.file("device.txt")};
    ScopedVariable traceFile{"FAKE_TRACE", folder.file("trace.txt")};
    ScopedVariable cpuId{"FAKE_CPU_ID", "0"};
    NiceMock<MockFrontEnd> frontEnd;
    NiceMock<MockChannel> channel;
    FakeXmtrLibrary xmtr;
    std::unique_ptr<Receiver> receiver;
    ChannelDriver* driver = nullptr;
};

} // namespace rcvr_test
