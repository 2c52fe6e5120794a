#include "tests/road/Orvtrace.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/truth/VerdictTable.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <set>
#include <string>

// The verdict of `orvtrace calibrate --verify`, through the shared library and the server process, against the verdict on
// the same wiring in one process. ORV_LIBRARY_WIRINGS in the environment is the number of wirings, ORV_LIBRARY_FIRST the
// first seed.

namespace truth {
namespace {

/// The kind of a verdict and the slug of its first reason.
using Said = std::pair<std::string, std::string>;

constexpr unsigned usualCount = 6;
/// Bits without an error that exclude the rate that the program is asked for.
constexpr double askedRate = 1e-7;
constexpr std::uint64_t askedBits = 30'000'000;
/// In real time a burst has other noise each time: what is said at any of these durations of a request counts, in
/// nanoseconds.
constexpr std::uint64_t roundTrips[] = {20000, 23000, 27000, 31000, 36000, 41000, 47000, 53000};

unsigned numberFrom(const char* name, unsigned usual) {
    const char* text = std::getenv(name);
    return text != nullptr ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : usual;
}

Said saidOf(const diagnosis::RunVerdict& verdict) {
    return {verdictName(verdict.kind), verdict.reasons.empty() ? "" : verdict.reasons.front().slug};
}

std::set<Said> saidInOneProcess(std::uint64_t seed) {
    const bench::Scenario scenario = drawScenario(seed, bench::ExportKind::Pti);
    std::set<Said> all;
    for (const std::uint64_t roundTrip : roundTrips) {
        const test_support::TemporaryFolder folder;
        diagnosis::DiagnosticSet set;
        const Verdict known = calibrateAndJudge(scenario, folder.path, roundTrip, Judging::ByPattern,
                                                [&] { set = diagnosis::readDiagnostics(folder.path); });
        std::optional<diagnosis::WordCheck> words;
        if (known.outcome != Outcome::refused) {
            words = drawWordCheck(seed, known, {}, askedBits);
            words->askedErrorRate = askedRate;
        }
        all.insert(saidOf(verdictOn(std::move(set), known, words)));
    }
    return all;
}

/// The wiring's scenario with a buffer that holds the bits in one recording.
std::string scenarioFor(std::uint64_t seed) {
    std::string text = scenarioText(drawScenario(seed, bench::ExportKind::Pti));
    const std::string smallest = "buffer = 0";
    return text.replace(text.find(smallest), smallest.size(), "buffer = 4");
}

Said saidByTheProgram(std::uint64_t seed) {
    const RunSpace space;
    const std::string file = space.write("wiring.toml", scenarioFor(seed)).string();
    const ::Outcome run = space.run({"calibrate", "--scenario", file, "--verify", "--error-rate", "1e-7", "--json",
                                     "--out", space.file("run").string()});
    if (!run.json.is_object() || !run.json.contains("verdict")) {
        return {"no verdict", run.output + run.errors};
    }
    const nlohmann::json& verdict = run.json.at("verdict");
    const nlohmann::json& reasons = verdict.at("reasons");
    return {verdict.at("kind").get<std::string>(),
            reasons.empty() ? "" : reasons.front().at("slug").get<std::string>()};
}

TEST(VerdictsThroughTheLibrary, AreThoseOfOneProcess) {
    const unsigned count = numberFrom("ORV_LIBRARY_WIRINGS", usualCount);
    const unsigned first = numberFrom("ORV_LIBRARY_FIRST", 1);
    std::map<std::string, unsigned> kinds;
    unsigned sameReason = 0;
    for (std::uint64_t seed = first; seed < first + count; ++seed) {
        const Said said = saidByTheProgram(seed);
        const std::set<Said> expected = saidInOneProcess(seed);
        EXPECT_THAT(expected, testing::Contains(testing::Key(said.first))) << "seed " << seed << ": " << said.second;
        sameReason += expected.contains(said) ? 1U : 0U;
        ++kinds[said.first];
        std::printf("seed %u: %s %s\n", static_cast<unsigned>(seed), said.first.c_str(), said.second.c_str());
    }
    // The first reason may depend on the noise, where several things are wrong.
    std::printf("the same first reason: %u of %u\n", sameReason, count);
    for (const auto& [kind, number] : kinds) {
        std::printf("%s: %u\n", kind.c_str(), number);
    }
}

} // namespace
} // namespace truth
