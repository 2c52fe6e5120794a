#pragma once

#include "host/platform/Platform.h"
#include "pinmap/PinAssignment.h"

#include <string>
#include <vector>

// The receiver takes pin-outs as they come: what it cannot read as a number counts as 0 and what follows one is ignored,
// and nothing keeps clock and data off one pin. A user has to be told.

namespace host {

using Vx::Qrs::Trace::OrvRcvr::PinoutText;

/// Of a device, from the device identification library. What that cannot answer is left out.
std::vector<PinoutText> pinoutTextsOfDevice(const LoadedLibrary& library, const std::string& device);

/// One sentence for each number that cannot be read, and for each list that has a pin twice. With `kind` not empty only
/// those of that kind.
std::vector<std::string> pinWarnings(const std::vector<PinoutText>& texts, const std::string& kind);

} // namespace host
