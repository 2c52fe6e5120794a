#pragma once

#include "toolkit/ExitCode.h"

#include <string>

namespace toolkit {

/// What a person can do about a failure whose text comes from the receiver and does not tell; empty when the text
/// tells it already. `run` is what `orvtrace doctor` takes for this run, empty where there is nothing to look at.
std::string remedyOf(ExitCode code, const std::string& text, const std::string& run = {});

/// A path as it can be typed: with marks around it when there are blanks in it.
std::string quoted(const std::string& path);

/// Stands between the receiver's text and the data server's own.
inline constexpr const char* serverSaid = "; the data server said: ";

/// One line on the standard error output: the text, the remedy where there is one, and the receiver's log where that is
/// given and may tell more.
void printFailure(ExitCode code, const std::string& text, const std::string& log = {}, const std::string& run = {});

} // namespace toolkit
