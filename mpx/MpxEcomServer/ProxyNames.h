#pragma once

namespace VX_QRS::ORV {

/// The unit's name in function trace lines.
inline constexpr const char* proxySourceName = "..\\..\\mpx\\MpxEcomServer\\OrvEcomProxy";

} // namespace VX_QRS::ORV
