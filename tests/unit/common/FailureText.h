#pragma once

#include <gtest/gtest.h>

#include <string>

namespace VX_QRS::test {

// The text of the failure that a call ends in; the failure has to be an `Expected`.
template <class Expected, class Call>
std::string failureText(Call call) {
    try {
        call();
    } catch (const Expected& e) {
        return e.what();
    }
    ADD_FAILURE() << "no failure was thrown";
    return {};
}

} // namespace VX_QRS::test
