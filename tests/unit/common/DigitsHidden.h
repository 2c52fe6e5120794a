#pragma once

#include <string>

namespace VX_QRS::test {

// A text with every digit replaced by "9".
inline std::string digitsHidden(std::string text) {
    for (char& c : text) {
        if (c >= '0' && c <= '9') {
            c = '9';
        }
    }
    return text;
}

} // namespace VX_QRS::test
