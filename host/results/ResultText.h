#pragma once

#include "host/results/RecordResult.h"

#include <string>

namespace host {

/// The result for a person: verdict, rejected settings, one line per pin, recordings, files.
std::string resultText(const RecordResult& result);

/// One table per calibration attempt, then the verdict, then the files.
std::string attemptsText(const RecordResult& result);

/// The same as resultText for a script: one JSON object. It has the attempts too.
std::string resultJson(const RecordResult& result);

} // namespace host
