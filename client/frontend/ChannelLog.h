#pragma once

#include "common/source/source_utilities/SourceLocation.h"
#include "rcvr/framework/compiler/Compiler.h"

// Log lines of the front end and its channels: "ORV Receiver (orv_client_frontend:<line>) <message>".

namespace VX_QRS::ORV::CLIENT {

inline constexpr const char* programLabel = "ORV Receiver";

/// The source unit that exceptions and log lines of front end and channels name, whatever file they come from.
inline constexpr const char* frontEndUnit = "orv_client_frontend";

/// The caller's line.
inline int here(const SourceLocation& location = SourceLocation::current()) {
    return static_cast<int>(location.line());
}

/// Whether steps are logged; check before composing a text for one.
bool stepsWanted();

/// Logs a step: class M, threshold 1. Use as logStep(here(), "called ds_start").
void logStep(int line, const char* format, ...) ORV_PRINTF_CHECKED(2, 3);
/// Logs a failure: class E, threshold 1.
void logStepError(int line, const char* format, ...) ORV_PRINTF_CHECKED(2, 3);

} // namespace VX_QRS::ORV::CLIENT
