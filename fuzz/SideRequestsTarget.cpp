#include "bench/server/SideProtocol.h"
#include "bench/unit/Unit.h"
#include "fuzz/Require.h"
#include "fuzz/Targets.h"
#include "fuzz/Text.h"
#include "fuzz/UnitMeasure.h"

#include <algorithm>
#include <mutex>
#include <string>

namespace fuzz {

namespace {

constexpr unsigned mostLines = 6; // a burst of each pin is computed after each

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
