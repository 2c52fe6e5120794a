#include "bench/server/SideProtocol.h"
#include "bench/unit/Unit.h"
#include "fuzz/Require.h"
#include "fuzz/Targets.h"
#include "fuzz/Text.h"

#include <mutex>
#include <string>

namespace fuzz {

namespace {

namespace reg = bench::reg;

constexpr unsigned mostLines = 6; // a burst of each pin is computed after each

void enableInputs(bench::Unit& unit) {
    for (unsigned proc = 0; proc < reg::procs; ++proc) {
        unit.write(reg::kindUnit, reg::procFirst(0, proc), reg::enableBit | (proc + 2) << 8);
    }
    unit.write(reg::kindUnit, reg::stmControl(0), reg::captureEnableBit);
}

/// What the unit sees of the target: a burst, a count of clock edges, and the start of a recording.
void measure(bench::Unit& unit, std::uint64_t& now) {
    for (const std::uint32_t value : {0x001FU, 0x801FU, 0U}) {
        unit.write(reg::kindUnit, reg::capture, value);
    }
    unit.write(reg::kindUnit, reg::windowLow(0), 1000);
    unit.openChannel(0x8000, 0);
    unit.start();
    now += 200'000; // nanoseconds
    for (unsigned proc = 0; proc < reg::procs; ++proc) {
        unit.read(reg::kindUnit, reg::fifoStatus(proc));
        unit.read(reg::kindUnit, reg::fifoData(proc));
    }
    unit.read(reg::kindUnit, reg::countLow(0));
    unit.stop();
    require(unit.peek(512).size() <= 512, "a peek is no longer than asked");
}

} // namespace

void sideRequests(Input input) {
    bench::Scenario scenario;
    scenario.transmitter.frequencies = {1e6, 50e6, 0.0};
    std::uint64_t now = 0;
    bench::Unit unit(scenario, [&now] { return now; });
    std::mutex mutex;
    enableInputs(unit);
    std::string_view text = textOf(input);
    for (unsigned count = 0; count < mostLines && !text.empty(); ++count) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        const std::string answer = bench::answerSideRequest(line, unit, mutex);
        require(answer == "ok" || answer.starts_with("ok ") || answer.starts_with("err "), "an answer's first word");
        require(answer.find_first_of("\r\n") == std::string::npos, "an answer is one line");
        measure(unit, now);
    }
}

} // namespace fuzz
