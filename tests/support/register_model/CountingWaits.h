#pragma once

#include "client/frontend/Waits.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <thread>

namespace register_model {

/// Lets no time pass and counts what was asked for. Any thread.
class CountingWaits final : public VX_QRS::ORV::CLIENT::Waits {
public:
    void sleep(std::uint32_t milliseconds) override {
        ++sleeps;
        total += milliseconds;
        last = milliseconds;
        if (hook) {
            hook(milliseconds);
        }
        std::this_thread::yield();
    }

    std::atomic<std::uint32_t> sleeps{0};
    std::atomic<std::uint64_t> total{0}; ///< milliseconds
    std::atomic<std::uint32_t> last{0};  ///< milliseconds
    /// Called inside every wait, on the waiting thread; to be set while no thread waits.
    std::function<void(std::uint32_t)> hook;
};

} // namespace register_model
