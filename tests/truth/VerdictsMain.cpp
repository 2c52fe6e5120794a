#include "tests/truth/VerdictTable.h"

#include <cstdio>
#include <cstdlib>
#include <string>

// The verdicts on many random wirings, against what the bench knows.
//
//     truth_verdicts 10000                 wirings of seeds 1 to 10000, "pti"
//     truth_verdicts 2000 1 tpiu           another export
//     truth_verdicts 1000 1 unkind         "pti", the same wirings with memory and coupling

int main(int argc, char** argv) {
    const unsigned count = argc > 1 ? static_cast<unsigned>(std::atoi(argv[1])) : 10000;
    const std::uint64_t first = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 1;
    const std::string name = argc > 3 ? argv[3] : "pti";
    const truth::Board board = name == "unkind" ? truth::unkindBoard : truth::kindBoard;
    const auto kind = bench::exportKindFromName(board.unkind() ? "pti" : name);
    if (count == 0 || !kind) {
        std::fprintf(stderr, "usage: %s [COUNT [FIRST SEED [pti|tpiu|unkind]]]\n", *argv);
        return 2;
    }
    const truth::VerdictTable table = truth::judgeVerdicts(first, count, *kind, board);
    std::printf("%s, %u wirings\n\n%s", name.c_str(), count, table.text().c_str());
    for (const std::string& each : table.odd) {
        std::printf("%s\n", each.c_str());
    }
    return 0;
}
