// The program that the contract's cases start: waits for the milliseconds of its argument, or until it is ended.
#include "common/source/source_utilities/uThread.h"

#include <cstdlib>
#include <string>

int main(int argc, char** argv) {
    if (argc < 2) {
        return 2;
    }
    const bool always = std::string(argv[1]) == "always";
    constexpr std::uint32_t slice = 10000;
    do {
        VX_QRS::uThread::sleep(always ? slice : static_cast<std::uint32_t>(std::atoi(argv[1])));
    } while (always);
    return 0;
}
