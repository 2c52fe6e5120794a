#pragma once

#include "tests/simulation/backend/Network.h"
#include "tests/simulation/faults/Quiet.h"

#include <cstdint>
#include <new>
#include <utility>

namespace simulation {

/// Below the count, drawn from the seed of the schedule.
inline std::uint32_t drawBelow(std::uint32_t count) {
    return static_cast<std::uint32_t>(Network::instance().random().below(count));
}

/// Runs an operation of the product; false when there was no memory for it.
template <class Operation>
bool product(Operation&& operation) {
    try {
        const ProductCall call;
        std::forward<Operation>(operation)();
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

} // namespace simulation
