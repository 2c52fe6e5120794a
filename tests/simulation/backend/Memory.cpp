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

/// Before each block: which schedule it belongs to, 0 for none.
struct alignas(std::max_align_t) Header {
    std::uint64_t schedule = 0;
};

std::uint64_t schedule = 0;
std::int64_t left = 0;

bool isCounted() {
    return schedule != 0 && Scheduler::isSimulated() && !Quiet::isOn();
}

void* allocate(std::size_t size) noexcept {
    const bool counted = isCounted();
    if (counted && Faults::instance().fails(Fault::memory)) {
        return nullptr;
    }
    void* block = std::malloc(sizeof(Header) + size);
    if (block == nullptr) {
        return nullptr;
    }
    auto* header = new (block) Header{counted ? schedule : 0};
    left += counted ? 1 : 0;
    return header + 1;
}

void release(void* memory) noexcept {
    if (memory == nullptr) {
        return;
    }
    Header* header = static_cast<Header*>(memory) - 1;
    left -= header->schedule != 0 && header->schedule == schedule ? 1 : 0;
    std::free(header);
}

} // namespace

void beginMemory() {
    ++schedule;
    left = 0;
}

std::int64_t allocationsLeft() {
    return left;
}

} // namespace simulation

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
