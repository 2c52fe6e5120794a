#include "tests/truth/CauseTable.h"

#include <cstdio>
#include <cstdlib>

// How often the verdict's first cause is the fault that was planted, for each kind of fault.
//
//     truth_faults 100                 sound wirings of each kind of fault
//     truth_faults 100 5001            from that seed on
//     truth_faults 100 1 late          one kind
//     truth_faults 100 1 late FOLDER   keeps the files of every run with another cause: orvtrace doctor reads them

int main(int argc, char** argv) {
    const unsigned count = argc > 1 ? static_cast<unsigned>(std::atoi(argv[1])) : 100;
    const std::uint64_t first = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 1;
    const auto only = argc > 3 ? truth::faultNamed(argv[3]) : std::nullopt;
    if (count == 0 || (argc > 3 && !only)) {
        std::fprintf(stderr,
                     "usage: %s [COUNT [FIRST SEED [stuck|swapped|shorted|open-clock|late|noisy|duty|drift|"
                     "wrong-rate "
                     "[FOLDER]]]]\n",
                     *argv);
        return 2;
    }
    const auto kept = argc > 4 ? std::optional<std::filesystem::path>(argv[4]) : std::nullopt;
    truth::CauseTable table;
    for (const truth::Fault fault : truth::faults) {
        if (!only || fault == *only) {
            truth::judgeCauses(fault, first, count, table, kept);
        }
    }
    std::printf("%s", table.text().c_str());
    for (const std::string& each : table.odd) {
        std::printf("%s\n", each.c_str());
    }
    return 0;
}
