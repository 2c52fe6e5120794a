#include "bench/scenarios/Scenario.h"
#include "fuzz/Require.h"
#include "fuzz/Targets.h"

#include <string_view>

namespace fuzz {

void scenario(std::span<const std::uint8_t> input) {
    const std::string_view text(reinterpret_cast<const char*>(input.data()), input.size());
    try {
        bench::parseScenario(text, "s");
    } catch (const bench::ScenarioError& error) {
        require(std::string_view(error.what()).starts_with("s:"), error.what());
    }
}

} // namespace fuzz
