#pragma once

#include "common/source/source_utilities/uEnvironment.h"

#include <fstream>
#include <string>

// Symbols are hidden by default.
#define FAKE_EXPORT __attribute__((visibility("default")))

namespace fake {

/// One line into the file that FAKE_TRACE names, so that a test sees what was called and in which order.
inline void trace(const std::string& line) {
    const std::string path = VX_QRS::uEnvironment::get("FAKE_TRACE");
    if (!path.empty()) {
        std::ofstream(path, std::ios::app) << line << "\n";
    }
}

/// True when the variable asks for a function that makes nothing.
inline bool makesNothing(const char* variable) {
    return std::string(VX_QRS::uEnvironment::get(variable)) == "nothing";
}

} // namespace fake
