#pragma once

#include "bench/scenarios/Scenario.h"
#include "tests/support/failure/FailureText.h"

#include <string>
#include <string_view>

namespace bench {

/// Text of the failure of a scenario file; empty when it has none.
inline std::string failureOf(std::string_view text) {
    return test_support::failureText<ScenarioError>([&] { parseScenario(text, "file.toml"); });
}

} // namespace bench
