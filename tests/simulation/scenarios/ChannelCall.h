#pragma once

#include <functional>

namespace simulation {

/// Runs an operation of a channel or front end, which may throw their own exceptions; true when it did not throw.
bool attempt(const std::function<void()>& operation);

} // namespace simulation
