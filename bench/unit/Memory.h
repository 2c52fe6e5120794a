#pragma once

#include "bench/scenarios/Scenario.h"

#include <cstdint>
#include <span>
#include <vector>

namespace bench {

/// Reading from the capture memory: bytes are unchanged except at defective cells.
class Memory {
public:
    Memory() = default; ///< without defects
    /// The memory during one recording, without cells that break later.
    Memory(const std::vector<MemoryCell>& defective, std::uint64_t recording);

    /// `bytes` are in the memory from `address` on.
    void spoil(std::uint64_t address, std::span<std::uint8_t> bytes) const;

private:
    std::vector<MemoryCell> cells;
};

} // namespace bench
