// The program's allocations go through Memory.h. A sanitizer's build leaves them to the sanitizer: there no allocation fails,
// and none is missed.

#include "tests/simulation/backend/Memory.h"

#include <cstddef>
#include <new>

void* operator new(std::size_t size) {
    void* memory = simulation::allocate(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void* operator new[](std::size_t size) {
    return operator new(size);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return simulation::allocate(size);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return simulation::allocate(size);
}

void operator delete(void* memory) noexcept {
    simulation::release(memory);
}

void operator delete[](void* memory) noexcept {
    simulation::release(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    simulation::release(memory);
}

void operator delete[](void* memory, std::size_t) noexcept {
    simulation::release(memory);
}

void operator delete(void* memory, const std::nothrow_t&) noexcept {
    simulation::release(memory);
}

void operator delete[](void* memory, const std::nothrow_t&) noexcept {
    simulation::release(memory);
}
