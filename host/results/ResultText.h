#pragma once

#include <string>

#include "host/results/RecordResult.h"

namespace host {

/// The result for a person: verdict, rejected settings, one line per pin, recording, files.
std::string resultText(const RecordResult& result);

/// The same for a script: one JSON object.
std::string resultJson(const RecordResult& result);

/// "50 MHz", "12.5 MHz", "400 kHz".
std::string frequencyText(double hertz);
/// "1.50 MB", in powers of 1024.
std::string sizeText(std::uint64_t bytes);
/// A failed setting's reason without the status's name and number ahead of it.
std::string plainReason(const std::string& reason);

} // namespace host
