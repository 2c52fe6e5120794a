#include "diagnosis/stream/RecordingCheck.h"

#include "diagnosis/analysis/DiagnosticSet.h"
#include "toolkit/ExitCode.h"
#include "toolkit/Text.h"
#include "toolkit/TextFile.h"

#include <algorithm>
#include <fstream>
#include <memory>

namespace diagnosis {

namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t endOfLog = std::uintmax_t{1} << 18;

/// Data pins: the pin map's without the clock, or those that a report or a burst has.
unsigned lanesOf(const DiagnosticSet& set) {
    std::size_t pins = 0;
    if (set.properties) {
        const std::string map = set.properties->value("pinMap").value_or("");
        pins = map.empty() ? 0 : toolkit::splitAt(map, ',').size();
    }
    if (pins == 0) {
        pins = set.base.pins();
    }
    for (const FileGroup& attempt : set.attempts) {
        pins = pins == 0 ? attempt.pins() : pins;
    }
    const std::size_t lanes = pins == 0 ? 0 : pins - 1;
    return lanes == 1 || lanes == 2 || lanes == 4 ? static_cast<unsigned>(lanes) : 0;
}

/// The clock of the attempt that the calibration kept: the last one, unless it failed.
double clockOf(const DiagnosticSet& set) {
    if (set.log && !set.log->attempts.empty() && set.log->attempts.back().reason.empty()) {
        return set.log->attempts.back().hertz;
    }
    return set.base.rates().exportFrequency;
}

/// Bytes that the last upload of a log wrote or still expected. The receiver counts them also when the disk is full.
std::optional<std::uint64_t> uploadedBytes(const DiagnosticSet& set) {
    if (!set.log) {
        return std::nullopt;
    }
    fs::path log = set.folder / set.log->file;
    std::error_code failed;
    if (!fs::exists(log, failed)) {
        log = set.folder / ".." / set.log->file;
    }
    const std::uintmax_t size = fs::file_size(log, failed);
    if (failed) {
        return std::nullopt;
    }
    const std::string text = toolkit::readText(log, size > endOfLog ? size - endOfLog : 0);
    std::optional<std::uint64_t> bytes;
    for (const toolkit::TextLine& line : toolkit::textLines(text)) {
        const auto writing = toolkit::textAfter(line.text, ") writing ");
        const auto pending = writing ? toolkit::textAfter(*writing, "bytes, ") : std::nullopt;
        const auto total = pending ? toolkit::textAfter(*pending, "pending, ") : std::nullopt;
        if (!total) {
            continue;
        }
        const auto left = toolkit::numberOf<std::uint64_t>(pending->substr(0, pending->find(' ')));
        const auto done = toolkit::numberOf<std::uint64_t>(total->substr(0, total->find(' ')));
        if (left && done) {
            bytes = *left + *done;
        }
    }
    return bytes;
}

/// Samples that the last recording of trace had. A verification with known words after it is the log's last upload.
std::optional<std::uint64_t> announcedSamples(const DiagnosticSet& set) {
    if (set.checks) {
        const std::vector<WordCheck>& words = set.checks->words;
        const bool followed = std::any_of(words.begin(), words.end(), [](const WordCheck& each) {
            return each.when != WordCheck::When::Before && !each.pattern.empty();
        });
        if (followed) {
            const auto& recordings = set.checks->recordings;
            return recordings.empty() ? std::nullopt : std::optional(recordings.back().announcedSamples);
        }
    }
    const auto bytes = uploadedBytes(set);
    return bytes ? std::optional((*bytes + sampleBytes - 1) / sampleBytes) : std::nullopt;
}

/// The pattern that a verification or a recording was asked to hold; empty if it may be any.
std::string patternFor(const DiagnosticSet& set, const std::string& name) {
    const auto property = [&](std::string_view key) {
        return set.properties ? set.properties->value(key).value_or("") : std::string();
    };
    if (!name.ends_with(".ver")) {
        const std::string pattern = property("testPattern");
        return hasCheckedPattern(pattern, 0) ? pattern : std::string();
    }
    if (set.exportKind() == "tpiu") {
        return "f0";
    }
    const std::string pattern = property("verifyPattern");
    const bool ofUnit = property("xmtrType") == "fpga";
    if (pattern.empty() || pattern == "verification" || pattern == "ramp") {
        return ofUnit ? "ramp1" : "ramp";
    }
    return hasCheckedPattern(pattern, 0) ? pattern : std::string();
}

} // namespace

StreamFacts factsOfRun(const fs::path& run, const fs::path& recording) {
    const DiagnosticSet set = readDiagnostics(run);
    StreamFacts facts;
    facts.source = (set.folder / set.name).string();
    facts.form.mode = streamModeNamed(set.exportKind()).value_or(StreamMode::Unknown);
    facts.form.lanes = lanesOf(set);
    facts.form.clockHertz = clockOf(set);
    const std::string name = recording.filename().string();
    facts.form.pattern = patternFor(set, name);
    if (name == set.name + ".bin") {
        facts.form.announcedSamples = announcedSamples(set);
    }
    facts.names = set.names;
    for (const std::string& trouble : set.troubles) {
        facts.notes.push_back(trouble + "; it was left out");
    }
    return facts;
}

StreamFacts factsBeside(const fs::path& recording) {
    std::error_code failed;
    const fs::path folder = recording.has_parent_path() ? recording.parent_path() : fs::path(".");
    std::vector<fs::path> runs;
    const fs::path ending = recording.extension();
    if (ending == ".bin" || ending == ".ver") {
        runs.push_back(recording);
    }
    if (fs::is_directory(folder / ".VX-trace", failed)) {
        runs.push_back(folder / ".VX-trace");
    }
    for (const fs::path& run : runs) {
        try {
            StreamFacts facts = factsOfRun(run, recording);
            if (facts.form.mode != StreamMode::Unknown) {
                return facts;
            }
        } catch (const toolkit::Failure&) {
            continue; // none there, or several: nothing is known
        }
    }
    return {};
}

StreamForm merged(const StreamForm& given, const StreamForm& known) {
    StreamForm form = known;
    if (given.mode != StreamMode::Unknown) {
        form.mode = given.mode;
    }
    form.lanes = given.lanes != 0 ? given.lanes : known.lanes;
    form.pattern = given.pattern.empty() ? known.pattern : given.pattern;
    form.clockHertz = given.clockHertz > 0.0 ? given.clockHertz : known.clockHertz;
    if (given.announcedSamples) {
        form.announcedSamples = given.announcedSamples;
    }
    return form;
}

FileCheck checkRecording(const fs::path& recording, const fs::path& run, const StreamForm& given) {
    FileCheck result;
    result.name = recording.string();
    const ByteReader reader = fileReader(recording);
    result.facts = run.empty() ? factsBeside(recording) : factsOfRun(run, recording);
    result.facts.form = merged(given, result.facts.form);
    result.check = checkStream(reader, result.facts.form);
    return result;
}

ByteReader fileReader(const fs::path& file) {
    toolkit::requireReadable(file);
    const auto in = std::make_shared<std::ifstream>(file, std::ios::binary);
    return [in](std::span<std::uint8_t> out) {
        in->read(reinterpret_cast<char*>(out.data()), static_cast<std::streamsize>(out.size()));
        return static_cast<std::size_t>(in->gcount());
    };
}

} // namespace diagnosis
