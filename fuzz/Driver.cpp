#include "fuzz/Targets.h"

#include <cstddef>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FUZZ_TARGET({data, size});
    return 0;
}
