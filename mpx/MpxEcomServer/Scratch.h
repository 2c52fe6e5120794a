#pragma once

#include <cstdint>
#include <memory>

namespace VX_QRS::ORV {

/// Storage for the payload of one callback record. It grows to the largest record and is reused, so that records
/// normally cause no allocation.
class Scratch {
public:
    /// Provides at least `needed` bytes; growing discards the content. Throws `std::runtime_error` "internal error
    /// allocating buffer".
    void ensure(std::uint64_t needed);
    std::uint8_t* data() { return block.get(); }
    std::uint32_t size() const { return capacity; }

private:
    std::unique_ptr<std::uint8_t[]> block;
    std::uint32_t capacity = 0;
};

} // namespace VX_QRS::ORV
