#pragma once

#include "host/results/RecordResult.h"

#include <nlohmann/json_fwd.hpp>

#include <string>

// `columns` is the width of the terminal that shows the text.

namespace host {

/// The result for a person: verdict, rejected settings, a table of pins, recordings, files. Empty if the run ended
/// before it measured anything.
std::string resultText(const RecordResult& result, std::size_t columns);

/// The same with a table for each calibration attempt, without recordings.
std::string attemptsText(const RecordResult& result, std::size_t columns);

/// One comparison with known words, without its line's end.
std::string wordsText(const SessionResult& result, const diagnosis::WordCheck& check);

/// The result for a script, attempts included, recordings excluded.
nlohmann::json calibrationJson(const RecordResult& result);
/// The same with "tune".
nlohmann::json tuneJson(const RecordResult& result);
/// The same with "earlierCalibration" and "recordings".
nlohmann::json recordJson(const RecordResult& result);

} // namespace host
