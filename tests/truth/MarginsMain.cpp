#include "tests/truth/MarginTruth.h"

#include <cstdio>
#include <cstdlib>
#include <string>

// Margin scans of many random wirings, against the bench's closed form.
//
//     truth_margins 1000                   wirings of seeds 700001 to 701000
//     truth_margins 200 710001             200 from another seed on
//     truth_margins 500 720001 3           with three times the jitter, for walls with enough taps to fit

int main(int argc, char** argv) {
    const unsigned count = argc > 1 ? static_cast<unsigned>(std::atoi(argv[1])) : 1000;
    const std::uint64_t first = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 700001;
    if (count == 0) {
        std::fprintf(stderr, "usage: %s [COUNT [FIRST SEED [JITTER]]]\n", *argv);
        return 2;
    }
    const double jitter = argc > 3 ? std::atof(argv[3]) : 1.0;
    const truth::MarginTable table = truth::judgeMargins(first, count, jitter);
    std::printf("%s", table.text().c_str());
    for (const std::string& miss : table.misses) {
        std::printf("%s\n", miss.c_str());
    }
    return 0;
}
