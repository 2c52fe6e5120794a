// The program's allocations: counted, and failed when a schedule asks for it.

#include "tests/simulation/backend/Memory.h"

#include "tests/simulation/faults/Faults.h"
#include "tests/simulation/faults/Quiet.h"
#include "tests/simulation/scheduler/Scheduler.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace simulation {

namespace {

/// Before each block.
struct alignas(std::max_align_t) Header {
    bool isCounted = false;
};

std::int64_t left = 0;

bool isProductCall() {
    return Scheduler::isSimulated() && !Quiet::isOn();
}

} // namespace

void* allocate(std::size_t size) noexcept {
    const bool counted = isProductCall();
    if (counted && Faults::instance().fails(Fault::memory)) {
        return nullptr;
    }
    void* block = std::malloc(sizeof(Header) + size);
    if (block == nullptr) {
        return nullptr;
    }
    auto* header = new (block) Header{counted};
    left += counted ? 1 : 0;
    return header + 1;
}

void release(void* memory) noexcept {
    if (memory == nullptr) {
        return;
    }
    Header* header = static_cast<Header*>(memory) - 1;
    // One of an earlier schedule that the process has kept so far makes room for its successor.
    left -= header->isCounted ? 1 : 0;
    std::free(header);
}

void beginMemory() {
    left = 0;
}

std::int64_t allocationsLeft() {
    return left;
}

} // namespace simulation
