#include "DriverFixture.h"

// The name that each operation gives itself in the log line of a failure from below.

namespace {

using namespace rcvr_test;
using testing::Contains;
using testing::Throw;

class Labels : public DriverFixture {
protected:
    Labels() {
        makeDriver();
        settings = settingsFile();
        ON_CALL(channel, status).WillByDefault(Throw(failure()));
        ON_CALL(channel, stop).WillByDefault(Throw(failure()));
        ON_CALL(channel, applySettings).WillByDefault(Throw(failure()));
    }

    // Of the line that `step` logs for a std::exception, with the class of the line.
    void expectLabel(const std::string& label, const std::function<void()>& step, char letter = 'E') {
        EXPECT_NE(failureOf(step), "") << label;
        const std::string line = std::string(1, letter) + " ORV Receiver : " + label + " std exception : " + what;
        EXPECT_EQ(std::ranges::count(log.lines(), line), 1) << line;
    }

    std::string settings;
    std::string what = "eDATASERVER(14) : data server failure : no answer";
    LogCapture log{folder};
};

TEST_F(Labels, OfAChannelAreItsOperations) {
    TraceAttribute attribute;
    ChannelStatus status;
    unsigned first = 0;
    int percent = 0;
    std::string text;
    expectLabel("GetAttribute", [&] { driver->GetAttribute("numPins", &attribute); }, 'W');
    expectLabel("GetChannelStatus", [&] { driver->GetChannelStatus(&status); });
    expectLabel("GetProgress", [&] { driver->GetProgress(&first, &percent, &text); });
    expectLabel("GetNumSamples", [&] { driver->GetNumSamples(); });
    expectLabel("SetConfiguration", [&] { driver->SetConfiguration(settings.c_str()); });
    expectLabel("StartRecording", [&] { driver->StartRecording(false); });
    expectLabel("StopRecording", [&] { driver->StopRecording(); });
    expectLabel("SaveFile", [&] { driver->SaveFile(folder.file("saved"), 2); });
}

TEST_F(Labels, OfTheReceiverAreItsOperations) {
    what = "eNAME(5) : invalid variable name : maxChnls";
    frontEnd.failing = true;
    expectLabel("GetNumChannels", [&] { receiver->GetNumChannels(); });
    frontEnd.failing = false;
    what = "eDATASERVER(14) : data server failure : no answer";
    ON_CALL(frontEnd, alloc).WillByDefault(Throw(failure()));
    expectLabel("ChannelDriver", [&] { receiver->AllocateChannel("cpu", &xmtr, 0, 0); });
    what = "thrown by the sibling";
    const ScopedVariable behaviour("FAKE_ADAPTER", "std");
    EXPECT_EQ(receiver->AllocateChannel("cpu", &xmtr, 0, 0), nullptr);
    EXPECT_THAT(log.lines(), Contains("E ORV Receiver : AllocateChannel std exception : thrown by the sibling"));
}

} // namespace
