#include "tests/simulation/scenarios/doubles/BenchDouble.h"

#include "tests/simulation/scheduler/Scheduler.h"

namespace simulation {

namespace {

constexpr std::uint64_t nanoseconds = 1000; // in a unit of virtual time

} // namespace

BenchDouble::BenchDouble()
    : unit(scenario, [] { return Scheduler::instance().now() * nanoseconds; }), benchClient(unit, requests),
      benchTransmitter(unit, scenario) {}

} // namespace simulation
