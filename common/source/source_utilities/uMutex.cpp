#include "common/source/source_utilities/uMutex.h"

#include "NativeMutex.h"

namespace VX_QRS {

struct uMutex::Native {
    NativeMutex mutex;
};

uMutex::uMutex() : native(std::make_unique<Native>()) {}

uMutex::~uMutex() = default;

bool uMutex::lock() {
    native->mutex.enter();
    owner.store(std::this_thread::get_id(), std::memory_order_relaxed);
    ++depth;
    return true;
}

std::int32_t uMutex::levels() const {
    return owner.load(std::memory_order_relaxed) == std::this_thread::get_id() ? depth : 0;
}

bool uMutex::unlock() {
    // Only this thread can have stored its own identifier, so a match needs no ordering.
    if (owner.load(std::memory_order_relaxed) != std::this_thread::get_id() || depth < 1) {
        return false;
    }
    --depth;
    if (depth == 0) {
        owner.store(std::thread::id{}, std::memory_order_relaxed);
    }
    native->mutex.leave();
    return true;
}

} // namespace VX_QRS
