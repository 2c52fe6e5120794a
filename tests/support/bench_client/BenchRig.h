#pragma once

#include "client/frontend/FrontEndChannel_1.h"
#include "client/frontend/FrontEnd_1.h"
#include "tests/support/bench_client/BenchClient.h"
#include "tests/support/register_model/ChannelInspector.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace bench_client {

/// A channel 0 over a unit of the bench with a scenario's wiring and target, opened and ready to calibrate. Each on one
/// thread; several at a time for as long as only one of them reads settings, which the construction does.
class BenchRig {
public:
    /// `folder` must exist and belongs to the caller; `lines` are further settings of the channel.
    BenchRig(const bench::Scenario& chosen, const std::filesystem::path& folder, const std::string& lines = {});
    ~BenchRig();
    BenchRig(const BenchRig&) = delete;
    BenchRig& operator=(const BenchRig&) = delete;

    VX_QRS::ORV::CLIENT::ChannelInspector inside() { return {*channel}; }
    /// Records the verification pattern at the present settings. Empty when it is as sent, otherwise the error.
    std::optional<std::string> recordPattern(std::uint32_t bytes);
    /// Records the target's trace at the present settings. Empty when every word is as sent, otherwise the error.
    std::optional<std::string> recordTrace(std::uint32_t bytes);

    bench::Scenario scenario;
    BenchTime time;
    bench::Unit unit;
    BenchClient client;
    BenchTransmitter transmitter;
    std::string stem;
    std::optional<bench::RecordingTruth> truth;   ///< of the last recording
    std::optional<bench::ContentsTruth> contents; ///< of the last recording that has ended
    std::unique_ptr<VX_QRS::ORV::CLIENT::FrontEnd_1> frontEnd;
    std::unique_ptr<VX_QRS::ORV::CLIENT::FrontEndChannel_1> channel;

private:
    std::string faultOfTrace(const std::string& path) const;
};

} // namespace bench_client
