#include "toolkit/Remedy.h"

#include "toolkit/Masked.h"

#include <array>
#include <cctype>

namespace toolkit {

namespace {

struct Rule {
    ExitCode code;
    const char* part; ///< of the text; empty: any text with this code
    const char* remedy;
};

constexpr const char* unknownCpu =
    "check the CPU's full name, such as bench/app; orvtrace pins lists those of the bench";
constexpr const char* doctorShows = "orvtrace doctor <run> shows why";
constexpr const char* runMark = "<run>";

// The first one that fits counts.
constexpr std::array rules{
    Rule{ExitCode::NoSystem, serverSaid, ""},
    Rule{ExitCode::NoSystem, "failed to connect to data server",
         "is mpx_ecom_server.exe installed, and is no other run using its port?"},
    Rule{ExitCode::NoSystem, "Failed to return CPU info", unknownCpu},
    Rule{ExitCode::CalibrationRefused, "Failed to return CPU info", unknownCpu},
    Rule{ExitCode::NoSystem, "dll load failure", "this library must be in the receiver's folder"},
    Rule{ExitCode::NoSystem, "cannot load ", "check the installation, or give the library with --library"},
    Rule{ExitCode::NoSystem, "Bad installation", "the libraries of an installation must be in one folder"},
    Rule{ExitCode::NoSystem, "server", "is the data server still running? see the log in the run's folder"},
    Rule{ExitCode::CalibrationRefused, "This device is not supported", unknownCpu},
    Rule{ExitCode::CalibrationRefused, "pin map", "orvtrace pins lists the pins of this device"},
    Rule{ExitCode::CalibrationRefused, "", doctorShows},
    Rule{ExitCode::RecordingError, "samples but its file holds only", ""},
    Rule{ExitCode::RecordingError, "", "see the log in the run's folder"},
};

} // namespace

std::string remedyOf(ExitCode code, const std::string& text, const std::string& run) {
    for (const Rule& rule : rules) {
        if (rule.code != code || text.find(rule.part) == std::string::npos) {
            continue;
        }
        std::string remedy = rule.remedy;
        const std::size_t mark = remedy.find(runMark);
        if (mark == std::string::npos) {
            return remedy;
        }
        return run.empty() ? std::string() : remedy.replace(mark, std::string(runMark).size(), quoted(run));
    }
    return {};
}

std::string quoted(const std::string& path) {
    return path.find(' ') == std::string::npos ? path : "\"" + path + "\"";
}

void printFailure(ExitCode code, const std::string& text, const std::string& log, const std::string& run) {
    std::string line = text.substr(0, text.find_first_of("\r\n"));
    std::string remedy = remedyOf(code, text, run);
    if (!remedy.empty()) {
        // Some of the receiver's texts are sentences. A command stays unchanged.
        const bool sentence = line.ends_with('.');
        if (sentence && !remedy.starts_with("orvtrace ")) {
            remedy.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(remedy.front())));
        }
        line += (sentence ? " " : "; ") + remedy;
    }
    const bool ofTheReceiver = code == ExitCode::NoSystem || code == ExitCode::CalibrationRefused ||
                               code == ExitCode::RecordingError || code == ExitCode::Failed;
    if (ofTheReceiver && !log.empty()) {
        line += " (log: " + log + ")";
    }
    printNotice(line);
}

} // namespace toolkit
