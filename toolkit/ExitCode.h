#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace toolkit {

/// The program's exit status. Scripts rely on the numbers; the help text lists them.
enum class ExitCode : int {
    Done = 0,
    Failed = 1,             ///< a failure without a code of its own
    Usage = 2,              ///< the command line cannot be understood
    BadInput = 3,           ///< a settings, scenario, trace or play file is missing or damaged
    NoSystem = 4,           ///< the receiver library, a sibling library or the data server is missing or failed
    CalibrationRefused = 5, ///< the receiver could not be configured and calibrated, or a request would be refused
    RecordingError = 6,     ///< the recording was ended by an error; what was captured is kept
    Interrupted = 7,        ///< Ctrl-C; what was captured is kept
    OutputExists = 8,       ///< an output exists and --force was not given
    OutputUnwritable = 9,   ///< an output cannot be written
    FaultsFound = 10,       ///< the work was done, and it found faults
};

/// One word for a script, such as "calibration-refused".
const char* exitCodeName(ExitCode code);

struct ExitCodeFacts {
    int number;
    const char* meaning; ///< as in the help text
};
/// By their numbers.
std::vector<ExitCodeFacts> exitCodes();

/// The table for the help text, two columns.
std::string exitCodeTable();

/// A failure that ends the program: one line with fault, place and remedy.
class Failure : public std::runtime_error {
public:
    Failure(ExitCode exitCode, const std::string& text, std::string whereText = {})
        : std::runtime_error(text), code(exitCode), where(std::move(whereText)) {}

    ExitCode code;
    std::string where; ///< place in the receiver's sources, for its developers; may be empty
};

} // namespace toolkit
