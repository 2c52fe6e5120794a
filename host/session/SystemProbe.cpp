#include "host/session/SystemProbe.h"

#include "host/platform/Platform.h"
#include "host/session/Receiver.h"
#include "host/session/ReceiverLog.h"
#include "toolkit/FilePath.h"
#include "toolkit/Format.h"
#include "toolkit/OutputFiles.h"
#include "toolkit/Text.h"
#include "toolkit/TextFile.h"

#include <algorithm>
#include <array>
#include <optional>

namespace host {

namespace {

namespace fs = std::filesystem;
using State = ProbedPart::State;

constexpr const char* serverProgram = "mpx_ecom_server.exe";
constexpr unsigned short firstPort = 55760;
constexpr unsigned short portCount = 8;
/// The largest recording is uploaded into a file, and often saved in another.
constexpr std::uintmax_t enoughSpace = std::uintmax_t{2} * 128 * 1024 * 1024;
/// A calibration's files alone.
constexpr std::uintmax_t leastSpace = std::uintmax_t{16} * 1024 * 1024;

struct Sibling {
    const char* library;
    const char* entry; ///< what the receiver calls
    const char* use;
    bool isNeeded;
};
constexpr std::array siblings{
    Sibling{"HaloTargetAdapter", "NewTargetAdapter", "the class of the CPU", true},
    Sibling{"zarn_xmtr", "CreateXmtr", "the target's trace export", true},
    Sibling{"PartIdentifier", "CreatePartIdentifier", "which pins a device has", false},
    Sibling{"AmbitFileChannelDriver", "CreateChannelDriver", "replay of files", false},
    Sibling{"OrvDataSource", "CreateDataSource", "replay of files", false},
};

fs::path libraryFile(const std::string& library) {
    const fs::path given = toolkit::filePath(library);
    return fs::absolute(given.has_parent_path() ? given
                                                : programFolder() / toolkit::filePath(libraryFileName(library)));
}

/// Loads a library and looks for a function in it.
ProbedPart probeLibrary(const std::string& name, const fs::path& file, const char* entry, const std::string& use,
                        bool isNeeded) {
    ProbedPart part{name, State::Ok, use + ", " + file.string(), ""};
    const State absent = isNeeded ? State::Missing : State::Warning;
    std::error_code failed;
    if (!fs::exists(file, failed)) {
        return {name, absent, use + ", " + file.string() + " does not exist",
                "install it there, beside the receiver library"};
    }
    try {
        const LoadedLibrary library(file);
        library.symbol<void (*)()>(entry);
    } catch (const toolkit::Failure& failure) {
        part.state = absent;
        part.text = use + ": " + failure.what();
        part.remedy = "install the file anew, for this system and processor";
    }
    return part;
}

/// Where the receiver would find the data server: in the folder that it changes to, then in those of the search path.
std::optional<fs::path> serverFile(const std::string& helix) {
    std::vector<fs::path> folders;
    if (!helix.empty()) {
        folders.push_back(toolkit::filePath(helix));
    }
    for (const std::string& each : toolkit::split(getEnvironment("PATH"), searchPathSeparator())) {
        folders.push_back(toolkit::filePath(each));
    }
    std::error_code failed;
    for (const fs::path& folder : folders) {
        if (fs::is_regular_file(folder / serverProgram, failed)) {
            return folder / serverProgram;
        }
    }
    return std::nullopt;
}

ProbedPart probeServer(bool bench) {
    const std::string helix = bench ? programFolder().string() : getEnvironment("COMMON_HELIX");
    if (const auto file = serverFile(helix)) {
        return {"data-server", State::Ok, file->string(), ""};
    }
    if (bench) {
        return {"data-server", State::Missing, (programFolder() / serverProgram).string() + " does not exist",
                "install the component bench"};
    }
    return {"data-server", State::Missing,
            std::string(serverProgram) + " is neither in the folder that COMMON_HELIX names (" +
                (helix.empty() ? "not set" : helix) + ") nor in one of PATH",
            "set COMMON_HELIX to the folder of the data server"};
}

ProbedPart probePorts() {
    std::vector<std::string> taken;
    for (unsigned short port = firstPort; port < firstPort + portCount; ++port) {
        if (!portIsFree(port)) {
            taken.push_back(std::to_string(port));
        }
    }
    const std::string range =
        "127.0.0.1, ports " + std::to_string(firstPort) + " to " + std::to_string(firstPort + portCount - 1);
    if (taken.empty()) {
        return {"ports", State::Ok, range + ", all free", ""};
    }
    const std::string text = range + ", in use: " + toolkit::joined(taken, ", ");
    if (taken.front() == std::to_string(firstPort)) {
        return {"ports", State::Warning, text,
                "another run may be starting; if none is, end the program that listens on " + taken.front()};
    }
    return {"ports", State::Ok, text, ""};
}

/// The folder, or the nearest one above it that exists.
fs::path existingPart(fs::path folder) {
    std::error_code failed;
    while (!fs::is_directory(folder, failed) && folder.has_relative_path()) {
        folder = folder.parent_path();
    }
    return folder;
}

ProbedPart probeFolder(const std::string& name, const fs::path& folder, const std::string& use) {
    const fs::path there = existingPart(folder);
    std::string text = use + ", " + folder.string();
    try {
        toolkit::testOutputFile(there / "orvtrace-probe", false);
    } catch (const toolkit::Failure&) {
        return {name, State::Missing, text + " cannot be written",
                "check the permissions of " + there.string() + ", or choose another folder"};
    }
    std::error_code failed;
    const fs::space_info space = fs::space(there, failed);
    if (failed) {
        return {name, State::Ok, text, ""};
    }
    text += ", " + toolkit::sizeText(space.available) + " free";
    if (space.available < leastSpace) {
        return {name, State::Missing, text,
                "free space on this disk: a calibration needs " + toolkit::sizeText(leastSpace)};
    }
    if (space.available < enoughSpace) {
        return {name, State::Warning, text,
                "free space on this disk: the largest recording and its copy need " + toolkit::sizeText(enoughSpace)};
    }
    return {name, State::Ok, text, ""};
}

fs::path profileFolder() {
    const std::string profile = getEnvironment("USERPROFILE");
    return toolkit::filePath(!profile.empty() ? profile : getEnvironment("HOME"));
}

/// Why the data server does not answer, as far as the receiver's log knows.
ProbedPart withoutAnswer(const toolkit::Failure& failure) {
    const fs::path log = receiverLog();
    std::string text = failure.what();
    std::error_code failed;
    if (!log.empty() && fs::exists(log, failed)) {
        const std::vector<std::string> errors = loggedErrors(toolkit::readText(log));
        text += errors.empty() ? "" : "; the log says: " + toolkit::joined(errors, "; ");
    }
    return {"server-answer", State::Missing, text,
            "start the data server by hand, to see what it says" +
                (log.empty() ? std::string() : "; the receiver's log is " + log.string())};
}

/// Starts the data server, which ends with the receiver.
ProbedPart probeAnswer(const ProbeRequest& request, bool canStart) {
    if (!request.connect) {
        return {"server-answer", State::Unknown, "not asked", "--connect starts the data server and asks it"};
    }
    if (!canStart) {
        return {"server-answer", State::Unknown, "not asked: a part that it needs is missing", ""};
    }
    if (getEnvironment("VX_TRACE_LOGGING").empty()) {
        setEnvironment("VX_TRACE_LOGGING", "1"); // only the log knows why a server does not answer
    }
    try {
        const Receiver receiver(request.library);
        return {"server-answer", State::Ok, "the data server answers, with the version that the receiver needs", ""};
    } catch (const toolkit::Failure& failure) {
        return withoutAnswer(failure);
    }
}

/// The receiver addresses the unit when a channel is configured, which calibrates at once: too much for a probe.
ProbedPart probeUnit(const ProbeRequest& request) {
    if (request.bench) {
        return {"capture-unit", State::Ok, "simulated", ""};
    }
    return {"capture-unit", State::Unknown, "not asked: only a calibration asks the unit",
            "orvtrace soak --settings FILE --rounds 1 checks it without a target"};
}

} // namespace

const char* stateName(State state) {
    switch (state) {
    case State::Ok:
        return "ok";
    case State::Warning:
        return "warning";
    case State::Missing:
        return "missing";
    case State::Unknown:
        break;
    }
    return "unknown";
}

bool wouldStart(const std::vector<ProbedPart>& parts) {
    return std::none_of(parts.begin(), parts.end(),
                        [](const ProbedPart& part) { return part.state == State::Missing; });
}

std::vector<ProbedPart> probeSystem(const ProbeRequest& request) {
    const fs::path library = libraryFile(request.library);
    std::vector<ProbedPart> parts;
    parts.push_back(
        {"version", State::Ok, "orvtrace " + request.version + ", " + systemName() + " " + systemVersion(), ""});
    parts.push_back(probeLibrary("receiver-library", library, "CreateRcvr", "the receiver", true));
    for (const Sibling& each : siblings) {
        parts.push_back(probeLibrary(each.library,
                                     library.parent_path() / toolkit::filePath(libraryFileName(each.library)),
                                     each.entry, each.use, each.isNeeded));
    }
    parts.push_back(probeServer(request.bench));
    parts.push_back(probePorts());
    std::error_code failed;
    parts.push_back(probeFolder("run-folder", fs::current_path(failed), "runs and outputs"));
    if (!request.bench) {
        parts.push_back(probeFolder("data-folder", profileFolder() / ".VX-trace", "the receiver's files"));
    }
    if (!request.bench) {
        parts.push_back(probeAnswer(request, wouldStart(parts)));
    }
    parts.push_back(probeUnit(request));
    return parts;
}

} // namespace host
