#pragma once

#include "diagnosis/stream/StreamCheck.h"
#include "toolkit/LaneNames.h"

#include <nlohmann/json_fwd.hpp>

#include <filesystem>
#include <string>
#include <vector>

// A recording in a file, with what the files of its run say about it.

namespace diagnosis {

/// What is known of a recording's stream, and from where.
struct StreamFacts {
    StreamForm form;
    std::string source;               ///< the stem of the run's files; empty without any
    std::vector<std::string> notes{}; ///< what could not be used, one sentence each
    toolkit::LaneNames names{};       ///< of the pins
};

/// From the files of a run: its folder, the stem of its files or one of them. Throws Failure as readDiagnostics() does.
/// For a verification (".ver") the pattern is known, too; for STEM.bin the number of samples that were uploaded.
StreamFacts factsOfRun(const std::filesystem::path& run, const std::filesystem::path& recording);

/// The same from the run whose folder holds the recording, or whose ".VX-trace" is beside it. Nothing without one.
StreamFacts factsBeside(const std::filesystem::path& recording);

/// `given` where it says something, `known` elsewhere.
StreamForm merged(const StreamForm& given, const StreamForm& known);

struct FileCheck {
    std::string name; ///< of the file
    StreamFacts facts;
    StreamCheck check;
};

/// One call for a file of samples: reads what the run says, and checks the stream. `run` may be empty: the files beside the
/// recording count. What `given` says wins. Throws Failure (BadInput) when the file cannot be read.
FileCheck checkRecording(const std::filesystem::path& recording, const std::filesystem::path& run = {},
                         const StreamForm& given = {});

/// The bytes of a file. Throws Failure (BadInput) when it cannot be read.
ByteReader fileReader(const std::filesystem::path& file);

/// One screen for a person.
std::string recordingText(const FileCheck& recording);
/// Such as "sound: ...", one line without its end.
std::string recordingVerdict(const FileCheck& recording);

/// The same for a script, without "schema" and what comes with it.
nlohmann::json recordingJson(const FileCheck& recording);

} // namespace diagnosis
