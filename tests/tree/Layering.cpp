#include "tests/tree/Layering.h"

#include "tests/tree/Lines.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <regex>
#include <sstream>
#include <string_view>

namespace tree {

namespace {

struct Room {
    std::string_view name;
    std::vector<std::string_view> below; ///< rooms that it may include; a room's own folders are rooms of their own
};

constexpr std::string_view utilities = "common/source/source_utilities";
constexpr std::string_view compiler = "rcvr/framework/compiler";

/// Folders before the folders that hold them.
const std::vector<Room>& rooms() {
    static const std::vector<Room> all{
        {utilities, {compiler}},
        {"common/source/properties", {"common", compiler}},
        {"common", {"common", compiler}},
        {compiler, {}},
        {"rcvr/framework", {compiler}},
        {"link", {"common", compiler}},
        {"pinmap", {"common", "rcvr/framework"}},
        {"tdf", {"common", "rcvr/framework"}},
        {"mpx", {"common", "rcvr/framework", "link"}},
        // Mathematics knows neither unit nor transmitter, a transmitter not the channel.
        {"client/analysis", {"common", "rcvr/framework"}},
        {"client/patterns", {"common", "rcvr/framework", "client"}},
        {"client/transmitters", {"common", "rcvr/framework", "mpx", "client", "client/frontend"}},
        {"client/frontend",
         {"common", "common/source/properties", "rcvr/framework", compiler, "mpx", "client", "client/analysis"}},
        {"client", {"common", "rcvr/framework", "mpx", "client/analysis"}},
        {"rcvr",
         {"common", "common/source/properties", "rcvr/framework", compiler, "pinmap", "tdf", "client",
          "client/frontend"}},
        {"bench/scenarios", {}},
        {"bench/signal", {}},
        {"bench/wiring", {"bench/scenarios", "bench/signal"}},
        {"bench/unit", {"bench/scenarios", "bench/signal", "bench/wiring"}},
        {"bench/faults", {"bench/scenarios"}},
        {"bench/server", {"common", "bench/scenarios", "bench/faults", "bench/unit"}},
        {"bench/siblings", {"common", "rcvr/framework", compiler, "bench/scenarios"}},
        {"bench", {}},
        {"toolkit", {}},
        // The file of a run's checks holds those of streams.
        {"diagnosis/files", {"toolkit", "rcvr/framework", "diagnosis/stream"}},
        {"diagnosis/analysis", {"toolkit", "rcvr/framework", "diagnosis/files"}},
        {"diagnosis/stream", {"toolkit", "rcvr/framework", "diagnosis/files", "diagnosis/analysis"}},
        {"diagnosis/burst", {"toolkit", "rcvr/framework", "diagnosis/files"}},
        {"diagnosis/doctor", {"toolkit", "rcvr/framework", "diagnosis/files", "diagnosis/analysis"}},
        {"diagnosis/verdict",
         {"toolkit", "rcvr/framework", "diagnosis/files", "diagnosis/analysis", "diagnosis/stream",
          "diagnosis/doctor"}},
        {"diagnosis/report",
         {"toolkit", "rcvr/framework", "diagnosis/files", "diagnosis/analysis", "diagnosis/burst", "diagnosis/doctor",
          "diagnosis/verdict"}},
        {"diagnosis/margin",
         {"toolkit", "diagnosis/files", "diagnosis/analysis", "diagnosis/burst", "diagnosis/faster",
          "diagnosis/report"}},
        {"diagnosis/faster", {"toolkit", "rcvr/framework", "diagnosis/files", "diagnosis/analysis", "diagnosis/tune"}},
        {"diagnosis/tune", {"toolkit", "rcvr/framework", "diagnosis/files", "diagnosis/analysis", "diagnosis/verdict"}},
        {"diagnosis/comparison",
         {"toolkit", "rcvr/framework", "diagnosis/files", "diagnosis/analysis", "diagnosis/burst", "diagnosis/doctor",
          "diagnosis/verdict", "diagnosis/report"}},
        {"diagnosis",
         {"toolkit", "diagnosis/files", "diagnosis/analysis", "diagnosis/stream", "diagnosis/burst", "diagnosis/doctor",
          "diagnosis/verdict", "diagnosis/report"}},
        // The library itself is loaded by name; commands that work on files and on the device data base need none.
        // A scenario is read by the bench and by the program that runs it.
        {"host/platform", {"toolkit"}},
        {"host/scenario", {"toolkit", "bench/scenarios", "host/platform"}},
        {"host/pins", {"toolkit", "rcvr/framework", "pinmap", "host/platform"}},
        {"host/session",
         {"toolkit", "common/source/properties", "rcvr/framework", "tdf", "diagnosis", "diagnosis/files",
          "diagnosis/analysis", "diagnosis/stream", "diagnosis/verdict", "host/platform", "host/scenario"}},
        {"host/verification",
         {"toolkit", "rcvr/framework", "diagnosis/files", "diagnosis/stream", "host/platform", "host/session"}},
        {"host/margin",
         {"toolkit", "rcvr/framework", "diagnosis", "diagnosis/files", "diagnosis/analysis", "diagnosis/margin",
          "diagnosis/stream", "diagnosis/faster", "diagnosis/tune", "host/calibration", "host/platform", "host/session",
          "host/verification"}},
        {"host/calibration",
         {"toolkit", "rcvr/framework", "diagnosis", "diagnosis/files", "diagnosis/verdict", "diagnosis/comparison",
          "diagnosis/tune", "host/platform", "host/session", "host/verification"}},
        {"host/results", {"toolkit", "diagnosis", "diagnosis/files", "host/session"}},
        {"host/soak", {"toolkit", "rcvr/framework", "diagnosis/files", "host/platform", "host/session"}},
        {"host/commands",
         {"toolkit", "pinmap", "tdf", "diagnosis", "diagnosis/comparison", "host/calibration", "host/margin",
          "host/pins", "host/platform", "host/results", "host/scenario", "host/session", "host/soak",
          "host/verification"}},
        {"host", {"host/commands", "host/platform", compiler}},
    };
    return all;
}

bool isIn(std::string_view path, std::string_view folder) {
    return path.size() > folder.size() && path.starts_with(folder) && path[folder.size()] == '/';
}

/// Null for files above all rooms, such as tests.
const Room* roomOf(std::string_view path) {
    // In the folder of the utilities, but works on the records that all layers share.
    const bool overRecords = path.find("/source_utilities/PropertyParser.") != std::string_view::npos;
    for (const Room& room : rooms()) {
        if (isIn(path, room.name) && !(overRecords && room.name == utilities)) {
            return &room;
        }
    }
    return nullptr;
}

bool mayInclude(const Room& room, const Room& included) {
    // Who may use the records that all layers share may use the utilities that they are made of.
    const std::string_view name = included.name == utilities ? "common" : included.name;
    return std::find(room.below.begin(), room.below.end(), name) != room.below.end();
}

bool isOfAPlatform(const std::string& path) {
    return path.find("/win32/") != std::string::npos || path.find("/posix/") != std::string::npos;
}

struct Include {
    std::size_t line;
    std::string target;
};

std::vector<Include> includesOf(const std::string& text, char open, char close) {
    std::vector<Include> found;
    forEachLine(text, [&](std::size_t number, const std::string& line) {
        const std::size_t hash = line.find_first_not_of(" \t");
        if (hash == std::string::npos || line[hash] != '#') {
            return;
        }
        const std::size_t word = line.find_first_not_of(" \t", hash + 1);
        if (word == std::string::npos || line.compare(word, 7, "include") != 0) {
            return;
        }
        const std::size_t begin = line.find(open, word + 7);
        const std::size_t end = begin == std::string::npos ? begin : line.find(close, begin + 1);
        if (end != std::string::npos) {
            found.push_back({number, line.substr(begin + 1, end - begin - 1)});
        }
    });
    return found;
}

/// The file that an include names, empty when it is none of the tree's.
std::string resolve(const Files& files, const std::string& from, const std::string& target) {
    const std::string beside = (std::filesystem::path(from).parent_path() / target).lexically_normal().generic_string();
    if (files.contains(beside)) {
        return beside;
    }
    return files.contains(target) ? target : "";
}

/// A header that each platform has one of; the build chooses.
bool isOfEachPlatform(const Files& files, const std::string& from, const std::string& target) {
    const std::string folder = std::filesystem::path(from).parent_path().generic_string();
    return files.contains(folder + "/win32/" + target) && files.contains(folder + "/posix/" + target);
}

} // namespace

Breaches upwardIncludes(const Files& files) {
    Breaches breaches;
    for (const auto& [path, text] : files) {
        const Room* const room = roomOf(path);
        if (!isSource(path) || room == nullptr) {
            continue;
        }
        for (const Include& include : includesOf(text, '"', '"')) {
            const std::string target = resolve(files, path, include.target);
            const Room* const included = roomOf(target);
            if (target.empty() || included == room) {
                continue;
            }
            if (included == nullptr || !mayInclude(*room, *included)) {
                breaches.push_back(at(path, include.line) + "includes " + target);
            }
        }
    }
    return breaches;
}

Breaches includesThatAreNotFromTheRoot(const Files& files) {
    Breaches breaches;
    for (const auto& [path, text] : files) {
        if (!isSource(path) || roomOf(path) == nullptr) {
            continue;
        }
        for (const Include& include : includesOf(text, '"', '"')) {
            if (!files.contains(include.target) && !isOfEachPlatform(files, path, include.target)) {
                breaches.push_back(at(path, include.line) + include.target + " is not there");
            }
        }
    }
    return breaches;
}

Breaches includeCycles(const Files& files) {
    enum class State { Open, Done };
    std::map<std::string, State> states;
    std::vector<std::string> chain;
    Breaches breaches;
    const std::function<void(const std::string&)> visit = [&](const std::string& path) {
        const auto known = states.find(path);
        if (known != states.end()) {
            if (known->second == State::Done) {
                return;
            }
            std::string text = path + ": includes itself by way of";
            for (auto link = std::find(chain.begin(), chain.end(), path); link != chain.end(); ++link) {
                text += " " + *link;
            }
            breaches.push_back(text);
            return;
        }
        states[path] = State::Open;
        chain.push_back(path);
        for (const Include& include : includesOf(files.at(path), '"', '"')) {
            const std::string target = resolve(files, path, include.target);
            if (!target.empty()) {
                visit(target);
            }
        }
        chain.pop_back();
        states[path] = State::Done;
    };
    for (const auto& [path, text] : files) {
        if (isSource(path)) {
            visit(path);
        }
    }
    return breaches;
}

Breaches compilerDependence(const Files& files) {
    static const std::regex own(
        "\\b(__attribute__|__attribute|__declspec|__builtin_\\w+|__extension__|__typeof__|typeof|__asm__|"
        "__asm|__int128|__restrict|__forceinline|__GNUC__|__clang__|__VERSION__|__clang_version__|"
        "_MSC_VER|_Pragma)\\b|#\\s*pragma\\s+(GCC|clang)|<\\w*intrin\\.h>");
    Breaches breaches;
    for (const auto& [path, text] : files) {
        const Room* const room = roomOf(path);
        if (!isSource(path) || room == nullptr || room->name == compiler) {
            continue;
        }
        forEachLine(text, [&, &p = path](std::size_t number, const std::string& line) {
            std::smatch found;
            if (std::regex_search(line, found, own)) {
                breaches.push_back(at(p, number) + found.str());
            }
        });
    }
    return breaches;
}

Breaches platformDependence(const Files& files) {
    static const std::regex test(
        "^\\s*#\\s*(if|ifdef|ifndef|elif)\\b.*\\b(_WIN32|_WIN64|WIN32|__linux__|__linux|linux|"
        "__unix__|unix|__APPLE__|_MSC_VER|__MINGW32__|__MINGW64__|__CYGWIN__|_POSIX_VERSION)\\b");
    static const std::regex header("^(windows|winsock2|ws2tcpip|tlhelp32|process|io|direct|share|unistd|dlfcn|pthread|"
                                   "fcntl|netdb|poll|spawn|sys/.*|netinet/.*|arpa/.*)(\\.h)?$");
    Breaches breaches;
    for (const auto& [path, text] : files) {
        if (!isSource(path) || isOfAPlatform(path) || roomOf(path) == nullptr) {
            continue;
        }
        forEachLine(text, [&, &p = path](std::size_t number, const std::string& line) {
            if (std::regex_search(line, test)) {
                breaches.push_back(at(p, number) + line);
            }
        });
        for (const Include& include : includesOf(text, '<', '>')) {
            if (std::regex_match(include.target, header)) {
                breaches.push_back(at(path, include.line) + "includes <" + include.target + ">");
            }
        }
    }
    return breaches;
}

} // namespace tree
