#pragma once

#include <stdexcept>
#include <string>

namespace test_support {

/// Text of the exception that a call throws; empty when it throws none. Exceptions other than `Expected` pass.
template <class Expected = std::runtime_error, class Call>
std::string failureText(const Call& call) {
    try {
        call();
    } catch (const Expected& e) {
        return e.what();
    }
    return {};
}

} // namespace test_support
