#pragma once

#include <functional>
#include <stdexcept>
#include <string>

/// Text of the failure, empty when there was none.
inline std::string failureText(const std::function<void()>& action) {
    try {
        action();
    } catch (const std::runtime_error& e) {
        return e.what();
    }
    return {};
}
