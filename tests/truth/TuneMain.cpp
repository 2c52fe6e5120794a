#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/truth/TuneTruth.h"
#include "tests/truth/Wirings.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>

// The search for values against the bench's truth: of the wirings that the receiver's calibration does not end sound, how
// many could be, and how many the search finds.
//
//     truth_tune 2000                  wirings of seeds 1 to 2000, "pti"
//     truth_tune 200 100001 tpiu       200 from seed 100001 on, another export
//     truth_tune 2000 1 pti miss       also a line for each that is missed or kept wrong

namespace {

struct Counts {
    unsigned wirings = 0, soundBefore = 0, refused = 0, thin = 0, wrong = 0;
    unsigned possible = 0, found = 0, missed = 0, keptWrong = 0, keptThin = 0, foundOtherwise = 0;
};

void print(const Counts& c) {
    std::printf("%u wirings: %u end sound by the receiver's calibration, %u refused, %u thin, %u wrong\n", c.wirings,
                c.soundBefore, c.refused, c.thin, c.wrong);
    std::printf("of the %u others %u could be sound; %u of them were found, %u missed; %u found that the exhaustive "
                "search has not\n",
                c.refused + c.thin + c.wrong, c.possible, c.found, c.missed, c.foundOtherwise);
    std::printf("kept: %u wrong, %u thin or near an edge\n", c.keptWrong, c.keptThin);
    const double all = c.wirings;
    std::printf("sound in all: %.2f %% by the receiver, %.2f %% with the search, %.2f %% possible\n",
                100.0 * c.soundBefore / all, 100.0 * (c.soundBefore + c.found + c.foundOtherwise) / all,
                100.0 * (c.soundBefore + c.possible + c.foundOtherwise) / all);
}

bool anyPossible(bench_client::BenchRig& rig) {
    for (unsigned setting = 0; setting < truth::usableSettings(rig.scenario); ++setting) {
        if (truth::soundIsPossible(rig, setting)) {
            return true;
        }
    }
    return false;
}

void judge(std::uint64_t seed, bench::ExportKind kind, bool tells, Counts& c) {
    const test_support::TemporaryFolder folder;
    bench_client::BenchRig rig(truth::drawScenario(seed, kind), folder.path);
    const truth::Calibrated before = truth::calibrate(rig);
    ++c.wirings;
    if (!before.refused && before.known == truth::Known::sound) {
        ++c.soundBefore;
        return;
    }
    ++(before.refused ? c.refused : before.known == truth::Known::wrong ? c.wrong : c.thin);
    const bool possible = anyPossible(rig);
    const truth::Tuned tuned = truth::tuneAll(rig);
    c.possible += possible ? 1U : 0U;
    c.found += possible && tuned.sound() ? 1U : 0U;
    c.foundOtherwise += !possible && tuned.sound() ? 1U : 0U;
    c.missed += possible && !tuned.sound() ? 1U : 0U;
    const bool keptWrong = tuned.setting && tuned.known == truth::Known::wrong;
    c.keptWrong += keptWrong ? 1U : 0U;
    c.keptThin += tuned.setting && (tuned.known == truth::Known::thin || tuned.known == truth::Known::safe) ? 1U : 0U;
    if (tells && (keptWrong || (possible && !tuned.sound()))) {
        std::string steps;
        for (const std::string& step : tuned.found.steps) {
            steps += "; " + step;
        }
        std::printf("%s seed %s: receiver: %s; kept %d%s\n", keptWrong ? "wrong" : "missed",
                    std::to_string(seed).c_str(), before.reason.c_str(), tuned.setting ? int(tuned.known) : -1,
                    steps.c_str());
    }
}

} // namespace

int main(int argc, char** argv) {
    const unsigned count = argc > 1 ? static_cast<unsigned>(std::atoi(argv[1])) : 2000;
    const std::uint64_t first = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 1;
    const auto kind = bench::exportKindFromName(argc > 3 ? argv[3] : "pti");
    const bool tells = argc > 4;
    if (count == 0 || !kind) {
        std::fprintf(stderr, "usage: %s [COUNT [FIRST SEED [pti|tpiu [miss]]]]\n", *argv);
        return 2;
    }
    Counts counts;
    for (std::uint64_t seed = first; seed < first + count; ++seed) {
        judge(seed, *kind, tells, counts);
    }
    print(counts);
    return 0;
}
