#pragma once

#include "tests/support/bench_client/BenchClient.h"

namespace simulation {

/// The bench's unit and target on ideal wires, with one rate, in the scheduler's time. For one thread at a time.
class BenchDouble {
public:
    BenchDouble();

    VX_QRS::ORV::DataClient& client() { return benchClient; }
    VX_QRS::ORV::CLIENT::Transmitter& transmitter() { return benchTransmitter; }

private:
    bench::Scenario scenario;
    bench_client::BenchTime requests; // counts, and its time is not used
    bench::Unit unit;
    bench_client::BenchClient benchClient;
    bench_client::BenchTransmitter benchTransmitter;
};

} // namespace simulation
