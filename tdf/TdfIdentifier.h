#pragma once

#include <array>

namespace Vx::Qrs::Trace::OrvRcvr {

/// The beginning of a new trace data file. 0x1A ends a listing of the file as text; the last four bytes are the
/// format's number.
inline constexpr std::array<unsigned char, 8> tdfIdentifier{'T', 'D', 'F', 0x1A, 1, 0, 0, 0};

} // namespace Vx::Qrs::Trace::OrvRcvr
