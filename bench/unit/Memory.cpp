#include "bench/unit/Memory.h"

#include <algorithm>
#include <iterator>

namespace bench {

namespace {

void spoilByte(const MemoryCell& cell, std::uint8_t& byte) {
    const auto bit = static_cast<std::uint8_t>(1U << cell.bit);
    if (!cell.stuck) {
        byte ^= bit;
    } else if (*cell.stuck == 1) {
        byte |= bit;
    } else {
        byte = static_cast<std::uint8_t>(byte & ~bit);
    }
}

// The first defective byte at or after `address`; a byte before `address` if there is none.
std::uint64_t firstFrom(const MemoryCell& cell, std::uint64_t address) {
    if (address <= cell.byte || cell.every == 0) {
        return cell.byte;
    }
    return cell.byte + (address - cell.byte + cell.every - 1) / cell.every * cell.every;
}

} // namespace

Memory::Memory(const std::vector<MemoryCell>& defective, std::uint64_t recording) {
    std::copy_if(defective.begin(), defective.end(), std::back_inserter(cells),
                 [recording](const MemoryCell& cell) { return recording >= cell.fromRecording; });
}

void Memory::spoil(std::uint64_t address, std::span<std::uint8_t> bytes) const {
    for (const MemoryCell& cell : cells) {
        const std::uint64_t end = address + bytes.size();
        for (std::uint64_t at = firstFrom(cell, address); at >= address && at < end; at += cell.every) {
            spoilByte(cell, bytes[at - address]);
            if (cell.every == 0) {
                break;
            }
        }
    }
}

} // namespace bench
