#pragma once

#include "toolkit/ExitCode.h"

#include <string>

namespace toolkit {

/// The remedy of a failure whose text comes from the receiver; empty if the text has it already. `run` is the argument of
/// `orvtrace doctor` for this run, empty if there is none.
std::string remedyOf(ExitCode code, const std::string& text, const std::string& run = {});

/// A path as it can be typed: in quotation marks if it has blanks.
std::string quoted(const std::string& path);

/// Between the receiver's text and the data server's own.
inline constexpr const char* serverSaid = "; the data server said: ";

/// One line on the standard error output: the text, the remedy where there is one, and the receiver's log where that is
/// given and may help.
void printFailure(ExitCode code, const std::string& text, const std::string& log = {}, const std::string& run = {});

} // namespace toolkit
