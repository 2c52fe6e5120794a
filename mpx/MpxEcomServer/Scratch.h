#pragma once

#include <cstdint>
#include <memory>

namespace VX_QRS::ORV {

/// Storage for the payload of one callback record. It grows to the largest record seen and is used again for each,
/// so that there is no allocation per record in the steady state.
class Scratch {
public:
    /// Sees to it that `needed` bytes are there; the old contents are lost when it has to grow. Throws
    /// `std::runtime_error` "internal error allocating buffer".
    void ensure(std::uint64_t needed);
    std::uint8_t* data() { return block.get(); }
    std::uint32_t size() const { return capacity; }

private:
    std::unique_ptr<std::uint8_t[]> block;
    std::uint32_t capacity = 0;
};

} // namespace VX_QRS::ORV
