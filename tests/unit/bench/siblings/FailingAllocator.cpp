#include "tests/unit/bench/siblings/FailingAllocator.h"

#include <cstdlib>
#include <limits>
#include <new>

namespace {

constexpr std::size_t never = std::numeric_limits<std::size_t>::max();
thread_local std::size_t left = never;
thread_local bool failed = false;

} // namespace

namespace failing_allocator {

void failAfter(std::size_t allocations) {
    failed = false;
    left = allocations;
}

bool disarm() {
    left = never;
    return failed;
}

} // namespace failing_allocator

void* operator new(std::size_t size) {
    if (left != never && left-- == 0) {
        left = never;
        failed = true;
        throw std::bad_alloc();
    }
    if (void* memory = std::malloc(size != 0 ? size : 1)) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
