#include "common/source/source_utilities/uEnvironment.h"
#include "tests/road/Orvtrace.h"

#include <gmock/gmock.h>

#include <chrono>
#include <regex>
#include <thread>

namespace {

/// The process that the receiver's log names; 0 without one.
std::uint32_t serverOf(const Outcome& run) {
    static const std::regex line("server started, pid=([0-9]+), port=");
    const std::string log = readBytes(run.json.at("files").at("log").get<std::string>());
    std::smatch found;
    return std::regex_search(log, found, line) ? static_cast<std::uint32_t>(std::stoul(found[1])) : 0;
}

TEST(DataServer, EndsWithTheProgramThatStartedIt) {
    const RunSpace space;
    const Outcome run = space.record("one-pin");
    ASSERT_EQ(run.code, 0) << run.errors;
    const std::uint32_t server = serverOf(run);
    ASSERT_NE(server, 0U);
    // The process list may show an ended process for a moment; the test's own time limit ends the wait.
    while (VX_QRS::uEnvironment::processExists(server)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

} // namespace
