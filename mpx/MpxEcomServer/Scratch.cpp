#include "mpx/MpxEcomServer/Scratch.h"

#include <limits>
#include <new>
#include <stdexcept>

namespace VX_QRS::ORV {

void Scratch::ensure(std::uint64_t needed) {
    if (needed <= capacity) {
        return;
    }
    block.reset();
    capacity = 0;
    const std::uint64_t rounded = (needed + 7) & ~std::uint64_t{7};
    if (needed <= std::numeric_limits<std::uint32_t>::max()) {
        block.reset(new (std::nothrow) std::uint8_t[rounded]);
    }
    if (block == nullptr) {
        throw std::runtime_error("internal error allocating buffer");
    }
    capacity = static_cast<std::uint32_t>(needed);
}

} // namespace VX_QRS::ORV
