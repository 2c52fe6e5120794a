#pragma once

#include "rcvr/framework/CChannelDriver.h"
#include "rcvr/framework/CReceiver.h"
#include "rcvr/framework/IXmtrLibrary.h"
#include "tests/simulation/scenarios/doubles/BenchDouble.h"
#include "tests/simulation/scenarios/doubles/RequestPoints.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace simulation {

/// A receiver as the trace framework holds it, with one channel, over the bench's unit in the same process, and the rules
/// that hold whatever a scenario does.
class ReceiverRig {
public:
    /// Created and allocated, unless a fault of the schedule prevents it; `isReady` tells.
    ReceiverRig();
    ReceiverRig(const ReceiverRig&) = delete;
    ReceiverRig& operator=(const ReceiverRig&) = delete;
    ~ReceiverRig();

    bool isReady() const { return driver != nullptr; }
    Vx::Qrs::Trace::CReceiver& receiver() { return *object; }
    Vx::Qrs::Trace::CChannelDriver& channel() { return *driver; }

    /// Runs an operation; true when it did not throw. Exceptions of other classes than the framework's are findings.
    bool attempt(const char* name, const std::function<void()>& operation);
    bool configure();
    bool start();
    bool stop();
    Vx::Qrs::Trace::ChannelStatus look();
    /// Polls the status until nothing is recorded or uploaded any more, as its text says: the code alone looks finished
    /// before the first byte has come.
    void awaitEnd();
    /// Saves, and judges the saved bytes: those that the unit sent, or a failure that said so.
    void saveAndJudge(unsigned format);
    /// Reads all samples in pieces and judges them. While an upload goes on they may be fewer: a read gives up on an upload
    /// that stands still for a second.
    void readAndJudge();
    void readWhileUploading();
    void release();

private:
    void create();
    std::vector<std::uint8_t> readAll();
    void judge(const std::vector<std::uint8_t>& bytes, const char* what);
    /// Deletes a channel that the receiver had no memory to list.
    void deleteUnlisted();

    BenchDouble bench;
    RequestPoints client;
    std::unique_ptr<Vx::Qrs::Trace::IXmtrLibrary> transmitterLibrary;
    Vx::Qrs::Trace::CReceiver* object = nullptr;
    Vx::Qrs::Trace::CChannelDriver* driver = nullptr;
};

} // namespace simulation
