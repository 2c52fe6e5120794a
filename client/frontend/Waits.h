#pragma once

#include <cstdint>

namespace VX_QRS::ORV::CLIENT {

/// All waits of the front end, so that a simulation can let time pass without waiting. Called from every thread of a
/// channel.
class Waits {
public:
    virtual ~Waits() = default;
    virtual void sleep(std::uint32_t milliseconds) = 0;
};

/// Real sleeps.
Waits& systemWaits();

} // namespace VX_QRS::ORV::CLIENT
