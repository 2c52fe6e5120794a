#include "tests/truth/NextRateTruth.h"

#include <cstdio>
#include <cstdlib>
#include <string>

// What would buy the next rate, claimed for many random wirings, against calibrations with the wire moved.
//
//     truth_next_rate 500                  wirings of seeds 730001 to 730500, "pti"
//     truth_next_rate 200 740001 all       also all single moves where nothing is claimed, which takes long

int main(int argc, char** argv) {
    const unsigned count = argc > 1 ? static_cast<unsigned>(std::atoi(argv[1])) : 500;
    const std::uint64_t first = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 730001;
    if (count == 0) {
        std::fprintf(stderr, "usage: %s [COUNT [FIRST SEED [all]]]\n", *argv);
        return 2;
    }
    const truth::NextRateTable table = truth::judgeNextRates(first, count, bench::ExportKind::Pti, argc > 3);
    std::printf("%s", table.text().c_str());
    for (const std::string& line : table.lines) {
        std::printf("%s\n", line.c_str());
    }
    return 0;
}
