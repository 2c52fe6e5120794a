#include "tests/truth/TruthTable.h"

#include <cstdio>
#include <cstdlib>
#include <string>

// Many wirings at one time: a table to look at, and the stories of those that went wrong.
//
//     truth_many 10000                 wirings of seeds 1 to 10000, "pti"
//     truth_many 200 100001 tpiu       200 from seed 100001 on, another export
//     truth_many 10000 1 pti FILE      compared with the table in FILE

int main(int argc, char** argv) {
    const unsigned count = argc > 1 ? static_cast<unsigned>(std::atoi(argv[1])) : 10000;
    const std::uint64_t first = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 1;
    const std::string name = argc > 3 ? argv[3] : "pti";
    const auto kind = bench::exportKindFromName(name);
    if (count == 0 || !kind) {
        std::fprintf(stderr, "usage: %s [COUNT [FIRST SEED [pti|tpiu [FILE]]]]\n", *argv);
        return 2;
    }
    const truth::TruthTable table = truth::judgeMany(first, count, *kind);
    const std::string text = table.text(name + ", " + std::to_string(count) + " wirings");
    std::printf("%s\n", text.c_str());
    for (const truth::TruthTable::Case& wrong : table.wrong) {
        std::printf("wrong: %s\n", wrong.story.c_str());
    }
    if (argc > 4) {
        const std::string difference = truth::differenceFrom(argv[4], text);
        std::fputs(difference.c_str(), stderr);
        return difference.empty() ? 0 : 1;
    }
    return 0;
}
