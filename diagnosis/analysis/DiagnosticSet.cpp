#include "diagnosis/analysis/DiagnosticSet.h"

#include "diagnosis/analysis/OwnFigures.h"
#include "toolkit/ExitCode.h"
#include "toolkit/FilePath.h"
#include "toolkit/Text.h"
#include "toolkit/TextFile.h"

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <set>

namespace diagnosis {

namespace {

namespace fs = std::filesystem;

enum class Kind { Cal, FailedBurst, Burst, Registers, Verification, Properties, PinMap, Recorded, Checks };

struct Suffix {
    std::string_view text;
    Kind kind;
};

// ".err.cap.txt" also ends in ".cap.txt".
constexpr std::array suffixes{
    Suffix{".cal.txt", Kind::Cal},        Suffix{".err.cap.txt", Kind::FailedBurst},
    Suffix{".cap.txt", Kind::Burst},      Suffix{".reg.txt", Kind::Registers},
    Suffix{".ver", Kind::Verification},   Suffix{".cfg", Kind::Properties},
    Suffix{".cache", Kind::PinMap},       Suffix{".bin", Kind::Recorded},
    Suffix{".checks.json", Kind::Checks},
};

constexpr int deepestFolder = 4;
constexpr std::size_t mostEntries = 20000;
constexpr std::size_t longestPinMap = 4096;

struct Part {
    std::string stem;                ///< without ".freq<n>"
    std::optional<unsigned> setting; ///< from ".freq<n>"
    Kind kind = Kind::Cal;
};

/// What a file is, by its name; nothing for any other file.
std::optional<Part> partOf(const std::string& name) {
    for (const Suffix& suffix : suffixes) {
        if (name.size() <= suffix.text.size() || !name.ends_with(suffix.text)) {
            continue;
        }
        Part part{name.substr(0, name.size() - suffix.text.size()), std::nullopt, suffix.kind};
        const std::size_t mark = part.stem.rfind(".freq");
        if (mark != std::string::npos && mark != 0) {
            part.setting = toolkit::numberOf<unsigned>(std::string_view(part.stem).substr(mark + 5));
            if (part.setting) {
                part.stem.resize(mark);
            }
        }
        return part;
    }
    return std::nullopt;
}

bool isOfCalibration(Kind kind) {
    return kind != Kind::Properties && kind != Kind::PinMap && kind != Kind::Recorded && kind != Kind::Checks;
}

/// Stems of calibrations in a folder and below it.
std::set<fs::path> stemsBelow(const fs::path& folder) {
    std::set<fs::path> stems;
    std::error_code failed;
    std::size_t seen = 0;
    fs::recursive_directory_iterator at(folder, fs::directory_options::skip_permission_denied, failed);
    for (; !failed && at != fs::recursive_directory_iterator() && seen < mostEntries; at.increment(failed), ++seen) {
        if (at.depth() >= deepestFolder) {
            at.disable_recursion_pending();
        }
        const auto part = partOf(at->path().filename().string());
        if (part && isOfCalibration(part->kind) && at->is_regular_file(failed)) {
            stems.insert(at->path().parent_path() / toolkit::filePath(part->stem));
        }
    }
    return stems;
}

[[noreturn]] void nothingAt(const fs::path& place) {
    throw toolkit::Failure(toolkit::ExitCode::BadInput,
                           "no diagnostic files at " + place.string() +
                               "; give the folder of a run, the stem of its files or one of them");
}

fs::path stemAt(const fs::path& place) {
    std::error_code failed;
    if (!fs::is_directory(place, failed)) {
        const auto part = partOf(place.filename().string());
        if (part && fs::exists(place, failed)) {
            return place.parent_path() / toolkit::filePath(part->stem);
        }
        const auto attempt = partOf(place.filename().string() + ".ver");
        return place.parent_path() / (attempt ? toolkit::filePath(attempt->stem) : place.filename());
    }
    const std::set<fs::path> stems = stemsBelow(place);
    if (stems.empty()) {
        nothingAt(place);
    }
    if (stems.size() > 1) {
        std::string list;
        std::size_t named = 0;
        for (const fs::path& stem : stems) {
            list += (named == 0 ? "" : ", ") + stem.string();
            if (++named == 4) {
                break;
            }
        }
        throw toolkit::Failure(toolkit::ExitCode::Usage,
                               place.string() + " holds the files of " + std::to_string(stems.size()) +
                                   " recordings; name one of them: " + list + (stems.size() > named ? " ..." : ""));
    }
    return *stems.begin();
}

void take(DiagnosticSet& set, FileGroup& group, const fs::path& file, Kind kind) {
    switch (kind) {
    case Kind::Cal:
        group.cal = readCalFile(file);
        break;
    case Kind::FailedBurst:
        group.failedBurst = readBurst(file);
        break;
    case Kind::Burst:
        group.burst = readBurst(file);
        break;
    case Kind::Registers:
        group.registers = readRegisters(file);
        break;
    case Kind::Verification:
        group.verification = readVerification(file);
        break;
    case Kind::Properties:
        set.properties = readProperties(file);
        break;
    case Kind::PinMap: {
        const std::string text = toolkit::readText(file, 0, longestPinMap);
        const auto lines = toolkit::textLines(text);
        set.pinMap = lines.empty() ? std::string() : std::string(lines.front().text);
        break;
    }
    case Kind::Recorded:
        set.recordedBytes = fs::file_size(file);
        break;
    case Kind::Checks:
        set.checks = parseRunChecks(toolkit::readText(file), file.string());
        break;
    }
}

FileGroup& groupOf(DiagnosticSet& set, std::optional<unsigned> setting) {
    if (!setting) {
        return set.base;
    }
    for (FileGroup& attempt : set.attempts) {
        if (attempt.setting == setting) {
            return attempt;
        }
    }
    set.attempts.emplace_back();
    set.attempts.back().setting = setting;
    return set.attempts.back();
}

void eachGroup(const DiagnosticSet& set, const std::function<void(const FileGroup&)>& visit) {
    for (const FileGroup& attempt : set.attempts) {
        visit(attempt);
    }
    visit(set.base);
}

} // namespace

std::size_t FileGroup::pins() const {
    if (burst) {
        return burst->pins.size();
    }
    if (cal) {
        return cal->pins.size();
    }
    return failedBurst ? failedBurst->pins.size() : 0;
}

Rates FileGroup::rates() const {
    if (cal) {
        return cal->rates;
    }
    if (burst) {
        return burst->rates;
    }
    return failedBurst ? failedBurst->rates : Rates{};
}

std::string DiagnosticSet::exportKind() const {
    std::string kind;
    eachGroup(*this, [&](const FileGroup& group) {
        if (kind.empty() && group.cal) {
            kind = group.cal->exportKind;
        }
    });
    return kind.empty() && properties ? properties->value("drmXmtr").value_or("") : kind;
}

std::string DiagnosticSet::verificationPattern() const {
    if (exportKind() == "tpiu") {
        return "f0";
    }
    return properties ? properties->value("verifyPattern").value_or("") : "";
}

bool DiagnosticSet::manual() const {
    return exportKind() == "tpiulite" || (properties && properties->value("calMode") == "manual");
}

std::size_t DiagnosticSet::dataPins() const {
    std::size_t pins = 0;
    eachGroup(*this, [&](const FileGroup& group) { pins = std::max(pins, group.pins()); });
    return pins == 0 ? 0 : pins - 1;
}

toolkit::LanePlace DiagnosticSet::lane(std::size_t proc) const {
    int emu = -1;
    eachGroup(*this, [&](const FileGroup& group) {
        if (group.burst && proc < group.burst->pins.size()) {
            emu = std::max(emu, emuOfInput(group.burst->pins[proc].rcvrpin));
        }
    });
    const std::size_t pins = dataPins();
    std::optional<unsigned> known;
    if (emu >= 0) {
        known = static_cast<unsigned>(emu);
    } else if (pinMap && proc <= pins) {
        // The clock, then bit 0 and up.
        const std::vector<std::string> map = toolkit::split(*pinMap, ',');
        const std::size_t at = proc == 0 ? 0 : pins + 1 - proc;
        known = map.size() == pins + 1 ? toolkit::numberOf<unsigned>(map[at]) : std::nullopt;
    }
    return {proc, pins, known};
}

double DiagnosticSet::sampleRate() const {
    double rate = usualSampleRate;
    double finest = 0.0;
    eachGroup(*this, [&](const FileGroup& group) {
        // The more samples in a period, the more digits of them the file shows.
        const Rates rates = group.rates();
        if (rates.known() && rates.oversampling > finest) {
            finest = rates.oversampling;
            rate = rates.sampleRate();
        }
    });
    return rate;
}

DiagnosticSet readDiagnostics(const fs::path& place) {
    const fs::path stem = stemAt(place);
    DiagnosticSet set;
    set.folder = stem.has_parent_path() ? stem.parent_path() : fs::path(".");
    set.name = stem.filename().string();
    std::error_code failed;
    std::map<std::string, Part> found;
    for (fs::directory_iterator at(set.folder, failed); !failed && at != fs::directory_iterator();
         at.increment(failed)) {
        const std::string name = at->path().filename().string();
        auto part = partOf(name);
        if (part && part->stem == set.name && at->is_regular_file(failed)) {
            found.emplace(name, std::move(*part));
        }
    }
    if (found.empty()) {
        nothingAt(place);
    }
    for (const auto& [name, part] : found) {
        set.files.push_back(name);
        try {
            take(set, groupOf(set, part.setting), set.folder / toolkit::filePath(name), part.kind);
        } catch (const toolkit::Failure& failure) {
            set.troubles.emplace_back(failure.what());
        } catch (const fs::filesystem_error& error) {
            set.troubles.emplace_back((set.folder / toolkit::filePath(name)).string() + ": " + error.code().message());
        }
    }
    if (set.checks) {
        set.names = set.checks->names;
    }
    set.log = findRunLog(set.folder, set.name);
    std::sort(set.attempts.begin(), set.attempts.end(),
              [](const FileGroup& left, const FileGroup& right) { return left.setting > right.setting; });
    keepOwnFigures(set);
    return set;
}

} // namespace diagnosis
