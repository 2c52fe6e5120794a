#pragma once

#include "pinmap/PinSearch.h"

#include <string>
#include <vector>

// The text form of pin assignments: "kind=pin,pin,pin;kind=pin,pin".

namespace Vx::Qrs::Trace::OrvRcvr {

struct AssignmentField {
    std::string kind;
    std::string list;
};

/// A pin-out, verbatim from its source.
struct PinoutText {
    std::string pinout; ///< its name
    std::string value;  ///< fields, separated by ";"
};

/// The pin-outs of a pin map file, from all sections, in the order read. Throws the exceptions of uConfig.
std::vector<PinoutText> readPinMapTexts(const char* path);

/// The fields of a value that have a kind and one list text, which may be empty; other fields are ignored.
std::vector<AssignmentField> splitAssignment(const std::string& value);

/// Numbers separated by ","; empty for an empty text. Throws uString::error for an empty number.
PinList parsePinList(const std::string& text);

/// The numbers in decimal, separated by ",".
std::string formatPinList(const PinList& pins);

} // namespace Vx::Qrs::Trace::OrvRcvr
