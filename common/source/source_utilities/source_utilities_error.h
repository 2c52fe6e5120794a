#pragma once

#include <stdexcept>

namespace VX_QRS {

/// Common base of the exceptions of the u classes. Texts are plain English, lower case, without a full stop.
class source_utilities_error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace VX_QRS
