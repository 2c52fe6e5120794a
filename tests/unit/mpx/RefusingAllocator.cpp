#include "tests/unit/mpx/RefusingAllocator.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> refusedFrom{0}; // 0: none are refused
std::atomic<std::size_t> refusedTo{0};
std::atomic<int> toSpare{Refusing::all};
std::atomic<bool> refused{false};

struct Shortage {
    int left = -1; // blocks to spare; below 0: there is no shortage
    bool lasting = false;
    bool refused = false;
};
thread_local Shortage shortage;

bool hasRunOut() {
    if (shortage.left < 0 || shortage.left-- > 0) {
        return false;
    }
    shortage.refused = true;
    shortage.left = shortage.lasting ? 0 : -1;
    return true;
}

bool isRefused(std::size_t size) {
    if (hasRunOut()) {
        return true;
    }
    bool hit = refusedFrom != 0 && size >= refusedFrom && size <= refusedTo;
    if (hit && toSpare != Refusing::all) {
        hit = toSpare-- == 0;
    }
    if (hit) {
        refused = true;
    }
    return hit;
}

} // namespace

Refusing::Refusing(std::size_t from, std::size_t to, int spare) {
    toSpare = spare;
    refused = false;
    refusedTo = to;
    refusedFrom = from;
}

Refusing::~Refusing() {
    refusedFrom = 0;
}

bool Refusing::hasRefused() const {
    return refused;
}

MemoryEnds::MemoryEnds(int spare, bool lasting) {
    shortage = {spare, lasting, false};
}

MemoryEnds::~MemoryEnds() {
    shortage.left = -1;
}

bool MemoryEnds::hasRefused() {
    return shortage.refused;
}

void* operator new(std::size_t size) {
    void* const block = isRefused(size) ? nullptr : std::malloc(size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}
void* operator new[](std::size_t size) {
    return operator new(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return isRefused(size) ? nullptr : std::malloc(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return isRefused(size) ? nullptr : std::malloc(size);
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
