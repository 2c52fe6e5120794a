#pragma once

#include <stdexcept>

namespace VX_QRS {

// Common base of what the u classes throw. Texts are plain English, lower case, without a full stop.
class source_utilities_error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace VX_QRS
