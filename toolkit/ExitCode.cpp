#include "toolkit/ExitCode.h"

#include <array>

namespace toolkit {

namespace {

struct Entry {
    ExitCode code;
    const char* name;
    const char* meaning;
};

// By their numbers.
constexpr std::array entries{
    Entry{ExitCode::Done, "done", "done"},
    Entry{ExitCode::Failed, "failed", "failed for another reason"},
    Entry{ExitCode::Usage, "usage", "wrong usage"},
    Entry{ExitCode::BadInput, "bad-input", "input missing or damaged"},
    Entry{ExitCode::NoSystem, "no-system", "no library or data server"},
    Entry{ExitCode::CalibrationRefused, "calibration-refused", "calibration or pins refused"},
    Entry{ExitCode::RecordingError, "recording-error", "recording ended by an error"},
    Entry{ExitCode::Interrupted, "interrupted", "interrupted, data kept"},
    Entry{ExitCode::OutputExists, "output-exists", "output exists (see --force)"},
    Entry{ExitCode::OutputUnwritable, "output-unwritable", "output cannot be written"},
    Entry{ExitCode::FaultsFound, "faults-found", "done, faults were found"},
};

const Entry& entryOf(ExitCode code) {
    const auto index = static_cast<std::size_t>(code);
    return entries[index < entries.size() ? index : static_cast<std::size_t>(ExitCode::Failed)];
}

std::string cell(const Entry& entry) {
    const std::string number = std::to_string(static_cast<int>(entry.code));
    return std::string(4 - number.size(), ' ') + number + "  " + entry.meaning;
}

} // namespace

const char* exitCodeName(ExitCode code) {
    return entryOf(code).name;
}

std::vector<ExitCodeFacts> exitCodes() {
    std::vector<ExitCodeFacts> codes;
    for (const Entry& entry : entries) {
        codes.push_back({static_cast<int>(entry.code), entry.meaning});
    }
    return codes;
}

std::string exitCodeTable() {
    constexpr std::size_t rows = (entries.size() + 1) / 2;
    constexpr std::size_t secondColumn = 38;
    std::string text = "Exit codes:\n";
    for (std::size_t row = 0; row < rows; ++row) {
        std::string line = cell(entries.at(row));
        if (row + rows < entries.size()) {
            line.resize(secondColumn, ' ');
            line += cell(entries.at(row + rows));
        }
        text += line + "\n";
    }
    text.pop_back();
    return text;
}

} // namespace toolkit
