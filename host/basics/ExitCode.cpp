#include "host/basics/ExitCode.h"

#include <array>

namespace host {

namespace {

struct Entry {
    ExitCode code;
    const char* name;
    const char* meaning;
};

constexpr std::array entries{
    Entry{ExitCode::Done, "done", "done"},
    Entry{ExitCode::Failed, "failed", "failed for a reason without a code of its own"},
    Entry{ExitCode::Usage, "usage", "wrong usage"},
    Entry{ExitCode::BadInput, "bad-input", "an input file is missing or damaged"},
    Entry{ExitCode::NoSystem, "no-system", "no receiver library, sibling library or data server"},
    Entry{ExitCode::CalibrationRefused, "calibration-refused", "configuration or calibration refused"},
    Entry{ExitCode::RecordingError, "recording-error", "recording ended by an error (data kept)"},
    Entry{ExitCode::Interrupted, "interrupted", "interrupted (data kept)"},
    Entry{ExitCode::OutputExists, "output-exists", "an output exists; --force overwrites it"},
    Entry{ExitCode::OutputUnwritable, "output-unwritable", "an output cannot be written"},
};

} // namespace

const char* exitCodeName(ExitCode code) {
    for (const Entry& entry : entries) {
        if (entry.code == code)
            return entry.name;
    }
    return "failed";
}

std::string exitCodeTable() {
    std::string text = "Exit codes:\n";
    for (const Entry& entry : entries) {
        text.append("  ").append(std::to_string(static_cast<int>(entry.code))).append("  ");
        text.append(entry.meaning).append("\n");
    }
    return text;
}

} // namespace host
