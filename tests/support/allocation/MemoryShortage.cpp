#include "tests/support/allocation/MemoryShortage.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

using test_support::RefusedSizes;
using test_support::Shortage;

std::atomic<std::size_t> refusedFrom{0}; // 0: no size is refused
std::atomic<std::size_t> refusedTo{0};
std::atomic<int> grantedOfRange{RefusedSizes::all};
std::atomic<bool> sizeRefused{false};

struct State {
    bool active = false;
    Shortage kind = Shortage::lasting;
    bool refused = false;
    std::size_t granted = 0; // blocks still to be granted
};
thread_local State state;

bool isOutOfMemory() {
    if (!state.active || (state.refused && state.kind == Shortage::oneBlock)) {
        return false;
    }
    if (state.granted != 0) {
        --state.granted;
        return false;
    }
    state.refused = true;
    return true;
}

bool isRefusedSize(std::size_t size) {
    if (refusedFrom == 0 || size < refusedFrom || size > refusedTo) {
        return false;
    }
    if (grantedOfRange != RefusedSizes::all && grantedOfRange-- != 0) {
        return false;
    }
    sizeRefused = true;
    return true;
}

void* allocate(std::size_t size) noexcept {
    return isOutOfMemory() || isRefusedSize(size) ? nullptr : std::malloc(size != 0 ? size : 1);
}

void* allocateOrThrow(std::size_t size) {
    if (void* block = allocate(size)) {
        return block;
    }
    throw std::bad_alloc();
}

} // namespace

namespace test_support {

RefusedSizes::RefusedSizes(std::size_t from, std::size_t to, int granted) {
    grantedOfRange = granted;
    sizeRefused = false;
    refusedTo = to;
    refusedFrom = from;
}

RefusedSizes::~RefusedSizes() {
    refusedFrom = 0;
}

bool RefusedSizes::hasRefused() const {
    return sizeRefused;
}

MemoryShortage::MemoryShortage(std::size_t granted, Shortage kind) {
    state = {true, kind, false, granted};
}

MemoryShortage::~MemoryShortage() {
    state.active = false;
}

void MemoryShortage::pause() {
    state.active = false;
}

void MemoryShortage::resume() {
    state.active = true;
}

bool MemoryShortage::hasRefused() {
    return state.refused;
}

} // namespace test_support

// These replace the standard library's in the whole program.
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
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete[](void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    std::free(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}
