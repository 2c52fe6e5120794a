#pragma once

#include "host/platform/Platform.h"
#include "pinmap/PinAssignment.h"

#include <string>
#include <vector>

// The receiver does not check pin-outs: text that is no number counts as 0, text after a number is ignored, and clock and
// data may share a pin. These are warnings for the user.

namespace host {

using Vx::Qrs::Trace::OrvRcvr::PinoutText;

/// Pin-outs of a device, from the device identification library; those that it does not answer are left out.
std::vector<PinoutText> pinoutTextsOfDevice(const LoadedLibrary& library, const std::string& device);

/// One sentence for each number that cannot be read, and for each list that has a pin twice. With `kind` not empty only
/// those of that kind.
std::vector<std::string> pinWarnings(const std::vector<PinoutText>& texts, const std::string& kind);

} // namespace host
