#include "host/basics/Remedy.h"

#include <array>
#include <cstdio>

namespace host {

namespace {

struct Entry {
    ExitCode code;
    const char* part; ///< of the text; empty: any text with this code
    const char* remedy;
};

// The first one that fits holds.
constexpr std::array entries{
    Entry{ExitCode::NoSystem, serverSaid, ""},
    Entry{ExitCode::NoSystem, "failed to connect to data server",
          "is mpx_ecom_server.exe installed, and is no other run using its port?"},
    Entry{ExitCode::NoSystem, "dll load failure", "this library has to lie beside the receiver's"},
    Entry{ExitCode::NoSystem, "cannot load ", "check the installation, or give the library with --library"},
    Entry{ExitCode::NoSystem, "Bad installation", "the libraries of an installation lie in one folder"},
    Entry{ExitCode::NoSystem, "server", "is the data server still running? the log in the run's folder tells more"},
    Entry{ExitCode::CalibrationRefused, "This device is not supported", "check the CPU's full name, such as bench/app"},
    Entry{ExitCode::CalibrationRefused, "pin map", "orvtrace pins tells which pins this device has"},
    Entry{ExitCode::CalibrationRefused, "", "orvtrace doctor DIR, with the run's folder, tells why"},
    Entry{ExitCode::RecordingError, "Stopped by error", "the log in the run's folder tells more"},
};

} // namespace

std::string remedyOf(ExitCode code, const std::string& text) {
    for (const Entry& entry : entries) {
        if (entry.code == code && text.find(entry.part) != std::string::npos)
            return entry.remedy;
    }
    return {};
}

void printFailure(ExitCode code, const std::string& text, const std::string& log) {
    std::string line = text.substr(0, text.find_first_of("\r\n"));
    const std::string remedy = remedyOf(code, text);
    if (!remedy.empty()) {
        // The receiver's texts are sentences or not.
        line += line.ends_with('.') ? " " : "; ";
        line += remedy;
    }
    const bool ofTheReceiver = code == ExitCode::NoSystem || code == ExitCode::CalibrationRefused ||
                               code == ExitCode::RecordingError || code == ExitCode::Failed;
    if (ofTheReceiver && !log.empty())
        line += " (log: " + log + ")";
    std::fprintf(stderr, "orvtrace: %s\n", line.c_str());
}

} // namespace host
