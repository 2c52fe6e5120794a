#include "tests/truth/ReuseTruth.h"

#include <cstdio>
#include <cstdlib>

// Calibrations used again, against the bench's truth.
//
//     truth_reuse 500                  500 boards that have not moved
//     truth_reuse 500 300001 6         from seed 300001 on, every wire moved by up to 6 samples

int main(int argc, char** argv) {
    const unsigned boards = argc > 1 ? static_cast<unsigned>(std::atoi(argv[1])) : 500;
    const std::uint64_t first = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 300001;
    const double drift = argc > 3 ? std::atof(argv[3]) : 0.0;
    if (boards == 0) {
        std::fprintf(stderr, "usage: %s [BOARDS [FIRST SEED [SAMPLES]]]\n", *argv);
        return 2;
    }
    const truth::ReuseCounts counts = truth::judgeReuse(first, boards, drift);
    std::fputs(counts.text().c_str(), stdout);
    return counts.reusedWrong == 0 ? 0 : 1;
}
