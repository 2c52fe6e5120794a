#pragma once

#include "host/session/Recording.h"
#include "host/session/SessionResult.h"

#include <filesystem>
#include <string>
#include <vector>

namespace host {

/// The files that a user wants recordings in: a trace data file with a section for each, and bare copies.
class RecordingOutputs {
public:
    /// Names as typed; an empty one means no such file. Of several recordings each has a bare copy of its own.
    RecordingOutputs(const std::string& traceDataFile, const std::string& rawFile, unsigned recordings);

    /// Every file that write() makes.
    std::vector<std::filesystem::path> files() const;

    /// Writes a recording, counted from 1, and names the files in `result`. Of a recording that is not whole the samples
    /// that came are written. Throws Failure.
    void write(Vx::Qrs::Trace::CChannelDriver& channel, unsigned number, const ReadBack& back,
               SessionResult& result) const;

private:
    std::filesystem::path rawFile(unsigned number) const;
    void addSection(Vx::Qrs::Trace::CChannelDriver& channel, bool first, const ReadBack& back) const;
    void copyRaw(Vx::Qrs::Trace::CChannelDriver& channel, unsigned number, const ReadBack& back) const;

    std::filesystem::path save;
    std::filesystem::path raw;
    unsigned count;
};

} // namespace host
