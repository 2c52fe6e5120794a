#include "tests/unit/client/frontend/ChannelFixture.h"

#include <optional>
#include <string>
#include <vector>

// Every event in every state. Each line of the table says where an event leads from each of the states that a channel
// can hold.

namespace client_test {

namespace {

constexpr std::int32_t states[] = {Uncalibrated, Calibrated, Recording, Failed, Idle, Stopped};
constexpr std::int32_t same = -1;
constexpr std::int32_t refused = -2; ///< fails by sequence, and the state stays

enum class Event {
    Calibrate,
    Start,
    Stop,
    SignalFailed,
    SignalIdle,
    SignalStopped,
    SignalTriggered,
    SignalRecording,
    SignalCalibrated,
    SignalNothing,
    StreamIdle,
    StreamActive,
    ServerError,
    UnexpectedData,
    ApplySettings,
    Status,
    TriggeredStatus,
    EndTransmission,
    TriggerFile,
    Samples,
    Terminate,
};

struct Row {
    const char* name;
    Event event;
    std::int32_t to[6]; // from 0, 2, 3, 4, 5, 6
};

const Row table[] = {
    //                                            Uncal.   Calibr.  Record.  Failed  Idle    Stopped
    {"Calibrate", Event::Calibrate, {2, same, refused, 2, 2, 2}},
    {"Start", Event::Start, {refused, 3, same, 3, 3, 3}},
    {"Stop", Event::Stop, {same, same, 6, same, same, same}},
    {"SignalFailed", Event::SignalFailed, {same, same, 4, same, same, same}},
    {"SignalIdle", Event::SignalIdle, {same, same, 5, same, same, same}},
    {"SignalStopped", Event::SignalStopped, {same, same, 6, same, same, same}},
    {"SignalTriggered", Event::SignalTriggered, {same, same, same, same, same, same}},
    {"SignalRecording", Event::SignalRecording, {same, same, same, same, same, same}},
    {"SignalCalibrated", Event::SignalCalibrated, {same, same, same, same, same, same}},
    {"SignalNothing", Event::SignalNothing, {same, same, same, same, same, same}},
    {"StreamIdle", Event::StreamIdle, {same, same, 5, same, same, same}},
    {"StreamActive", Event::StreamActive, {same, same, same, same, same, same}},
    {"ServerError", Event::ServerError, {same, same, 4, same, same, same}},
    {"UnexpectedData", Event::UnexpectedData, {same, same, 4, same, same, same}},
    {"ApplySettings", Event::ApplySettings, {same, same, refused, same, same, same}},
    {"Status", Event::Status, {same, same, same, same, same, same}},
    {"TriggeredStatus", Event::TriggeredStatus, {same, same, same, same, same, same}},
    {"EndTransmission", Event::EndTransmission, {same, same, same, same, same, same}},
    {"TriggerFile", Event::TriggerFile, {same, same, 6, same, same, same}},
    {"Samples", Event::Samples, {same, same, same, same, same, same}},
    {"Terminate", Event::Terminate, {same, same, same, same, same, same}},
};

class StateMachine : public ChannelTest, public testing::WithParamInterface<Row> {
protected:
    /// Brings a channel into a state by what leads there.
    void bringTo(std::int32_t wanted) {
        if (wanted == Uncalibrated) {
            openChannel("calMode=manual\n");
            return;
        }
        openCalibrated("calMode=manual\n");
        if (wanted == Calibrated) {
            return;
        }
        beginRecording();
        switch (wanted) {
        case Failed:
            channel->onError(1, "reason", "");
            break;
        case Idle:
            channel->onStatus(0);
            break;
        case Stopped:
            channel->stop();
            break;
        default:
            break;
        }
        ASSERT_EQ(state(), wanted);
    }

    void happen(Event event) {
        switch (event) {
        case Event::Calibrate:
            channel->calibrate();
            break;
        case Event::Start:
            startOnce();
            break;
        case Event::Stop:
            channel->stop();
            break;
        case Event::SignalFailed:
            signal(Failed, "x");
            break;
        case Event::SignalIdle:
            signal(Idle);
            break;
        case Event::SignalStopped:
            signal(Stopped);
            break;
        case Event::SignalTriggered:
            signal(Triggered);
            break;
        case Event::SignalRecording:
            signal(Recording);
            break;
        case Event::SignalCalibrated:
            signal(Calibrated);
            break;
        case Event::SignalNothing:
            signal(Uncalibrated);
            break;
        case Event::StreamIdle:
            channel->onStatus(0);
            break;
        case Event::StreamActive:
            channel->onStatus(1);
            break;
        case Event::ServerError:
            channel->onError(2, "x", "");
            break;
        case Event::UnexpectedData:
            channel->onData("x", 1);
            break;
        case Event::ApplySettings:
            channel->applySettings();
            break;
        case Event::Status:
            status();
            break;
        case Event::TriggeredStatus:
            EXPECT_CALL(transmitter, hasTriggered).WillRepeatedly(testing::Return(true));
            status();
            break;
        case Event::EndTransmission:
            channel->endTransmission(true);
            break;
        case Event::TriggerFile:
            writeText(stem + ".trg.txt", "");
            inside().checkTriggerFile();
            break;
        case Event::Samples:
            channel->ovs(true, true);
            break;
        case Event::Terminate:
            inside().terminateThread();
            break;
        }
    }

    void signal(std::int32_t requested, const char* text = nullptr) { inside().signalStop(requested, text); }

    void startOnce() {
        const bool ignored = state() == Recording;
        channel->start(false);
        if (ignored) {
            EXPECT_TRUE(releaseLock()) << "an ignored start keeps a level of the lock";
        }
    }
};

} // namespace

TEST_P(StateMachine, LeadsFromEachStateWhereTheTableSays) {
    for (std::size_t i = 0; i < std::size(states); ++i) {
        const std::int32_t from = states[i];
        SCOPED_TRACE("from state " + std::to_string(from));
        bringTo(from);
        const std::int32_t to = GetParam().to[i];
        std::optional<std::uint32_t> failure;
        try {
            happen(GetParam().event);
        } catch (const Exception& e) {
            failure = e.status();
        }
        if (to == refused) {
            EXPECT_EQ(failure, eSEQUENCE);
        } else {
            EXPECT_FALSE(failure.has_value()) << "status " << *failure;
        }
        EXPECT_EQ(state(), to == same || to == refused ? from : to);
        EXPECT_TRUE(lockIsFree());
        if (state() == Recording) {
            channel->stop();
        }
        inside().terminateThread();
        remakeChannel();
    }
}

INSTANTIATE_TEST_SUITE_P(All, StateMachine, testing::ValuesIn(table),
                         [](const auto& each) { return std::string(each.param.name); });

} // namespace client_test
