#include "tests/unit/mpx/RefusingAllocator.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> refusedFrom{0}; // 0: none are refused
std::atomic<std::size_t> refusedTo{0};
std::atomic<int> toSpare{Refusing::all};
std::atomic<bool> refused{false};

bool isRefused(std::size_t size) {
    bool hit = refusedFrom != 0 && size >= refusedFrom && size <= refusedTo;
    if (hit && toSpare != Refusing::all)
        hit = toSpare-- == 0;
    if (hit)
        refused = true;
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

void* operator new(std::size_t size) {
    void* const block = isRefused(size) ? nullptr : std::malloc(size);
    if (block == nullptr)
        throw std::bad_alloc();
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
