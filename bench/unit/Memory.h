#pragma once

#include "bench/scenarios/Scenario.h"

#include <cstdint>
#include <span>
#include <vector>

namespace bench {

// What the capture memory does to bytes that are read from it: nothing, but where a cell is defective.
class Memory {
public:
    Memory() = default; // a sound one
    // As it is during one recording: cells that break later are left out.
    Memory(const std::vector<MemoryCell>& defective, std::uint64_t recording);

    // `bytes` are those that lie in the memory from `address` on.
    void spoil(std::uint64_t address, std::span<std::uint8_t> bytes) const;

private:
    std::vector<MemoryCell> cells;
};

} // namespace bench
