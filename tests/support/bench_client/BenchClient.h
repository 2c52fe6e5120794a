#pragma once

#include "bench/unit/Unit.h"
#include "client/Pattern.h"
#include "client/Transmitter.h"
#include "client/frontend/Waits.h"
#include "mpx/MpxEcomServer/DataClient.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

// Connects a channel and the bench's unit in one process.

namespace bench_client {

/// Time that advances only by waits and requests, and the sum of the waits.
class BenchTime final : public VX_QRS::ORV::CLIENT::Waits {
public:
    void sleep(std::uint32_t milliseconds) override;
    void pass(std::uint64_t nanoseconds) { now += nanoseconds; }

    std::uint64_t roundTrip = 20000; ///< duration of a request in nanoseconds
    std::uint64_t now = 0;           ///< nanoseconds
    std::uint64_t waited = 0;        ///< milliseconds
    std::uint64_t waits = 0;
    bool sleepsReally = false;                    ///< waits also sleep in real time
    std::chrono::steady_clock::duration inUnit{}; ///< real time spent in the unit
};

/// The unit with the data client's interface. One thread.
class BenchClient final : public VX_QRS::ORV::DataClient, public VX_QRS::ORV::DataClient::Channel {
public:
    using RegisterAccess = VX_QRS::ORV::RegisterAccess;

    BenchClient(bench::Unit& benchUnit, BenchTime& benchTime) : unit(benchUnit), time(benchTime) {}

    void connect(const char* url) override;
    void disconnect() override;
    void read(RegisterAccess* list, std::uint32_t count) override;
    void write(const RegisterAccess* list, std::uint32_t count) override;
    VX_QRS::ORV::DataClient::Channel* openChannel(std::uint32_t bufferSize, std::uint32_t mode,
                                                  Callback* callback) override;
    void closeChannel(VX_QRS::ORV::DataClient::Channel* channel) override;

    void start() override;
    void status(std::uint32_t* ready) override;
    void peek(std::uint32_t first, std::uint32_t second, void* data, std::uint32_t* size) override;
    void stop() override;
    void request(std::uint32_t count) override;
    void cancel() override;
    void flush() override;

private:
    /// A request: advances the unit's time and measures real time.
    class Request {
    public:
        explicit Request(BenchTime& benchTime) : time(benchTime) { time.pass(time.roundTrip); }
        ~Request() { time.inUnit += std::chrono::steady_clock::now() - begin; }
        Request(const Request&) = delete;
        Request& operator=(const Request&) = delete;

    private:
        BenchTime& time;
        std::chrono::steady_clock::time_point begin = std::chrono::steady_clock::now();
    };

    bench::Unit& unit;
    BenchTime& time;
    Callback* sink = nullptr;
};

/// A target whose transmitter follows its programming. "calibration" is f0, "verification" is ramp.
class BenchTransmitter final : public VX_QRS::ORV::CLIENT::Transmitter {
public:
    BenchTransmitter(bench::Unit& benchUnit, const bench::Scenario& benchScenario)
        : unit(benchUnit), scenario(benchScenario) {}

    void setProperty(const char* name, const char* value) override;
    void getProperty(const char* name, const char** value) override;
    void applySettings() override {}
    void program(const char* name, std::uint32_t frequencySetting) override;
    void end(bool) override {}
    void flush() override {}
    void shutdown() override { unit.shutdownTarget(); }
    void reset() override {}
    std::uint32_t numFrequencySettings() override;
    bool hasTriggered() override { return false; }
    VX_QRS::ORV::CLIENT::Pattern* getPattern() override;

private:
    bench::Unit& unit;
    const bench::Scenario& scenario;
    std::vector<unsigned> pins;
    std::string kind;
    std::unique_ptr<VX_QRS::ORV::CLIENT::Pattern> pattern;
};

} // namespace bench_client
