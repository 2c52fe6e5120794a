#pragma once

#include "client/frontend/FrontEndChannel_1.h"
#include "client/frontend/FrontEnd_1.h"
#include "tests/simulation/scenarios/doubles/BenchDouble.h"
#include "tests/simulation/scenarios/doubles/RequestPoints.h"
#include "tests/simulation/scenarios/doubles/TransmitterDouble.h"
#include "tests/simulation/scenarios/doubles/UnitDouble.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

namespace simulation {

/// A channel over a unit in the same process, with the rules that hold whatever a scenario does.
class ChannelRig {
public:
    enum class Unit {
        model, ///< the channel counts as calibrated
        bench, ///< the channel has to calibrate
    };

    /// Opened, unless a fault of the schedule prevents it; `isReady` tells. `lines` are properties.
    explicit ChannelRig(Unit kind = Unit::model, const std::string& lines = {});
    ChannelRig(const ChannelRig&) = delete;
    ChannelRig& operator=(const ChannelRig&) = delete;
    /// Checks that the channel can record again once nothing fails.
    ~ChannelRig();

    bool isReady() const { return ready; }
    VX_QRS::ORV::CLIENT::FrontEndChannel_1& channel() { return *object; }
    UnitDouble& unit() { return unitDouble; }
    bool calibrate();

    /// attempt() for an operation that may begin a recording or a calibration.
    bool change(const std::function<void()>& operation);
    bool start();
    void stop();
    /// Polls status until the recording's thread is done.
    void awaitEnd();
    /// The rules for a recording that has ended: either it is whole, or it says that it failed.
    void judgeRecording();
    /// A look at the status as any thread may take it at any time.
    VX_QRS::ORV::CLIENT::ChannelMetrics look();
    std::string binPath() const;

private:
    bool open(const std::string& propertiesFile);
    void judgeState(std::int32_t state, unsigned changesBefore);
    void recover();

    UnitDouble unitDouble;
    std::unique_ptr<BenchDouble> bench; // with its own kind only
    RequestPoints client;
    TransmitterDouble transmitter;
    std::unique_ptr<VX_QRS::ORV::CLIENT::FrontEnd_1> frontEnd;
    std::unique_ptr<VX_QRS::ORV::CLIENT::FrontEndChannel_1> object;
    bool ready = false;
    unsigned changes = 0;                          // begun and ended calls that may change the state
    std::map<ThreadNumber, std::int32_t> lastSeen; // state, since the last of them
};

} // namespace simulation
