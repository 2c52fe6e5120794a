#pragma once

#include "client/frontend/FrontEndChannel_1.h"
#include "client/frontend/FrontEnd_1.h"
#include "common/source/Exception.h"
#include "tests/support/register_model/ChannelInspector.h"
#include "tests/support/register_model/CountingWaits.h"
#include "tests/support/register_model/MockTransmitter.h"
#include "tests/support/register_model/RegisterModel.h"
#include "tests/support/scratch/LogCapture.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace client_test {

using namespace VX_QRS::ORV::CLIENT;
using register_model::Call;
using register_model::CountingWaits;
using register_model::MockTransmitter;
using register_model::RegisterModel;
using test_support::exists;
using test_support::LogCapture;
using test_support::readText;
using test_support::TemporaryFolder;
using test_support::writeText;

/// Expects an Exception of that status and detail, from the front end's source unit.
void expectFailure(const std::function<void()>& action, Status status, const std::string& detail);

/// The data client that front ends of the tests get.
DataClientFactory modelFactory(RegisterModel& model);

/// The 51 registers of the dump of channel 0, as the model logs their read.
extern const std::string registerDumpLine;

/// A channel 0 over a model of the unit, with a stub for its transmitter.
class ChannelTest : public testing::Test {
protected:
    ChannelTest();
    ~ChannelTest() override;

    /// Writes the properties file and gives it to front end and channel.
    void configure(const std::string& channelLines, const std::string& globalLines = "orv=unit7\n");
    /// Configures for five pins, opens the channel and forgets what was asked of the model so far.
    void openChannel(const std::string& moreLines = {});
    /// The same, and as if a calibration had ended.
    void openCalibrated(const std::string& moreLines = {});
    /// Starts the capture as a recording does, without a thread.
    void beginRecording();
    /// Waits until the control thread reports that it is done.
    void waitUntilDone();
    /// Measures a clock of that rate, to the hertz, and takes a burst, as an operator's look at the signal does. Clears
    /// the model's log.
    void measure(std::uint32_t frequency);
    /// Gives back one level of the channel's lock; false when this thread holds none.
    bool releaseLock() { return inside().mutex().unlock(); }
    bool lockIsFree() { return !releaseLock(); }
    /// Whether the channel was open: an open one closes its stream when it is destroyed. Leaves a fresh channel.
    bool wasOpen();
    std::int32_t state() { return inside().control().state; }
    ChannelMetrics status();
    std::string get(const char* name);
    std::string binPath() const { return stem + ".bin"; }

    TemporaryFolder folder;
    std::string stem;
    std::string propsPath;
    RegisterModel model;
    CountingWaits waits;
    testing::NiceMock<MockTransmitter> transmitter{model};
    std::unique_ptr<FrontEnd_1> frontEnd;
    std::unique_ptr<FrontEndChannel_1> channel;
    ChannelInspector inside() { return {*channel}; }
    /// A fresh channel in place of the present one.
    void remakeChannel();
};

} // namespace client_test
