#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/truth/TruthTable.h"
#include "tests/truth/Wirings.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

// Calibrates many wirings, on all cores: prints a table, and a description of each wrong outcome.
//
//     truth_many 10000                 wirings of seeds 1 to 10000, "pti"
//     truth_many 200 100001 tpiu       200 from seed 100001 on, another export
//     truth_many 1000 1 unkind         "pti", the same wirings with memory and coupling
//     truth_many 1000 1 unkind=0.3     the same with at most that many samples of each
//     truth_many 10000 1 pti FILE      compared with the table in FILE
//     truth_many file FILE             a scenario at twenty request durations, with other noise in each
//     truth_many steady 60             of seeds 1 to 60 those that do not depend on noise

namespace {

/// Whether a wiring has the same outcome, setting and reason at a hundred request durations.
bool isSteady(const bench::Scenario& scenario, const std::filesystem::path& folder, truth::Verdict& verdict) {
    verdict = truth::calibrateAndJudge(scenario, folder);
    for (std::uint64_t pace = 1; pace < 100; ++pace) {
        const truth::Verdict again = truth::calibrateAndJudge(scenario, folder, 20000 + 1237 * pace);
        if (again.outcome != verdict.outcome || again.setting != verdict.setting || again.reason != verdict.reason) {
            return false;
        }
    }
    return true;
}

truth::Board boardOf(const std::string& name) {
    const std::string unkind = "unkind";
    if (name == unkind) {
        return truth::unkindBoard;
    }
    return name.starts_with(unkind + "=") ? truth::Board{std::atof(name.c_str() + unkind.size() + 1)}
                                          : truth::kindBoard;
}

int printSteady(unsigned count) {
    const test_support::TemporaryFolder folder;
    for (std::uint64_t seed = 1; seed <= count; ++seed) {
        truth::Verdict verdict;
        if (isSteady(truth::drawScenario(seed, bench::ExportKind::Pti), folder.path, verdict)) {
            std::printf("%s %s %s\n", std::to_string(seed).c_str(), nameOf(verdict.outcome), verdict.reason.c_str());
        }
    }
    return 0;
}

int printScenario(const char* file) {
    const test_support::TemporaryFolder folder;
    const bench::Scenario scenario = bench::loadScenario(file);
    for (std::uint64_t pace = 0; pace < 20; ++pace) {
        const truth::Verdict verdict =
            truth::calibrateAndJudge(scenario, folder.path, 20000 + 1237 * pace, truth::Judging::ByTrace);
        std::printf("%s at %.1f MHz: %s; %s\n", nameOf(verdict.outcome), verdict.megahertz, verdict.reason.c_str(),
                    verdict.description.c_str());
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::string(argv[1]) == "steady") {
        return printSteady(static_cast<unsigned>(std::atoi(argv[2])));
    }
    if (argc == 3 && std::string(argv[1]) == "file") {
        return printScenario(argv[2]);
    }
    const unsigned count = argc > 1 ? static_cast<unsigned>(std::atoi(argv[1])) : 10000;
    const std::uint64_t first = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 1;
    const std::string name = argc > 3 ? argv[3] : "pti";
    const truth::Board board = boardOf(name);
    const auto kind = bench::exportKindFromName(board.unkind() ? "pti" : name);
    if (count == 0 || !kind) {
        std::fprintf(stderr, "usage: %s [COUNT [FIRST SEED [pti|tpiu|unkind[=SAMPLES] [FILE]]]]\n", *argv);
        return 2;
    }
    const truth::TruthTable table =
        truth::judgeMany(first, count, *kind, board, std::max(1U, std::thread::hardware_concurrency()));
    const std::string text = table.text(name + ", " + std::to_string(count) + " wirings");
    std::printf("%s\n", text.c_str());
    for (const truth::TruthTable::Case& wrong : table.wrong) {
        std::printf("wrong: %s\n", wrong.report.c_str());
    }
    if (argc > 4) {
        const std::string difference = truth::differenceFrom(argv[4], text);
        std::fputs(difference.c_str(), stderr);
        return difference.empty() ? 0 : 1;
    }
    return 0;
}
