#include "AllocationFault.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

struct Fault {
    bool active = false;
    bool once = false;
    bool failed = false;
    long left = 0; // allocations that still succeed
};
thread_local Fault fault;

bool fails() {
    if (!fault.active) {
        return false;
    }
    if (fault.left != 0) {
        --fault.left;
        return false;
    }
    if (fault.once && fault.failed) {
        return false;
    }
    fault.failed = true;
    return true;
}

void* allocate(std::size_t size) noexcept {
    return fails() ? nullptr : std::malloc(size != 0 ? size : 1);
}

void* allocateOrThrow(std::size_t size) {
    if (void* memory = allocate(size)) {
        return memory;
    }
    throw std::bad_alloc();
}

} // namespace

namespace rcvr_test {

AllocationFault::AllocationFault(long n, Kind kind) {
    fault = {true, kind == Kind::Once, false, n - 1};
}

AllocationFault::~AllocationFault() {
    fault = {};
}

void AllocationFault::pause() {
    fault.active = false;
}

void AllocationFault::resume() {
    fault.active = true;
}

bool AllocationFault::occurred() const {
    return fault.failed;
}

} // namespace rcvr_test

// In place of the standard library's, for the whole program.
void* operator new(std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new[](std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}
