#include "host/session/RecordingOutputs.h"

#include "host/session/Receiver.h"
#include "host/session/Session.h"
#include "tdf/TdfFile.h"
#include "toolkit/FilePath.h"
#include "toolkit/OutputFiles.h"

#include <functional>

namespace host {

namespace {

namespace fs = std::filesystem;
using Vx::Qrs::Trace::CChannelDriver;
using Vx::Qrs::Trace::OrvRcvr::TdfFile;
using Vx::Qrs::Trace::OrvRcvr::TdfSection;

/// Bytes of trace in a bare copy.
std::uint64_t rawBytes(const fs::path& file) {
    std::error_code failed;
    const std::uintmax_t size = fs::file_size(file, failed);
    return failed ? 0 : size;
}

/// Bytes of trace in the last section.
std::uint64_t sectionBytes(const fs::path& file) {
    std::vector<TdfSection> sections;
    guarded(toolkit::ExitCode::OutputUnwritable, [&] { TdfFile::listSections(file.string().c_str(), &sections); });
    return sections.empty() ? 0 : sections.back().dataSize;
}

/// The receiver fails a copy at the first announced sample that is missing. The copy is complete if it is as long as the
/// samples that were read back.
void copyWhatCame(const fs::path& named, const ReadBack& back, const std::function<void()>& copy,
                  const std::function<std::uint64_t()>& written) {
    try {
        guardedOutput(named, copy);
    } catch (const toolkit::Failure&) {
        if (back.whole() || written() != back.samples * sizeof(std::uint64_t)) {
            throw;
        }
    }
}

fs::path absoluteOrEmpty(const std::string& name) {
    return name.empty() ? fs::path() : absolutePath(name);
}

} // namespace

RecordingOutputs::RecordingOutputs(const std::string& traceDataFile, const std::string& rawFile, unsigned recordings)
    : save(absoluteOrEmpty(traceDataFile)), raw(absoluteOrEmpty(rawFile)), count(recordings) {}

/// "out.bin", or "out-2.bin" for the second of several recordings.
fs::path RecordingOutputs::rawFile(unsigned number) const {
    fs::path file = raw;
    if (count > 1) {
        file.replace_filename(
            toolkit::filePath(file.stem().string() + "-" + std::to_string(number) + file.extension().string()));
    }
    return file;
}

std::vector<fs::path> RecordingOutputs::files() const {
    std::vector<fs::path> all;
    if (!save.empty()) {
        all.push_back(save);
    }
    for (unsigned number = 1; !raw.empty() && number <= count; ++number) {
        all.push_back(rawFile(number));
    }
    return all;
}

/// Adds a section, or leaves the file unchanged.
void RecordingOutputs::addSection(CChannelDriver& channel, bool first, const ReadBack& back) const {
    const auto add = [&](const fs::path& to) { channel.SaveFile(to.string(), CChannelDriver::eSaveTraceDataFile); };
    if (first) {
        toolkit::NewFile made(save);
        const auto copy = [&] {
            TdfFile::createFile(made.partial().string().c_str());
            add(made.partial());
        };
        copyWhatCame(save, back, copy, [&] { return sectionBytes(made.partial()); });
        made.putInPlace();
        return;
    }
    std::error_code failed;
    const std::uintmax_t size = fs::file_size(save, failed);
    try {
        copyWhatCame(save, back, [&] { add(save); }, [&] { return sectionBytes(save); });
    } catch (const toolkit::Failure&) {
        if (!failed) {
            fs::resize_file(save, size, failed);
        }
        throw;
    }
}

void RecordingOutputs::copyRaw(CChannelDriver& channel, unsigned number, const ReadBack& back) const {
    const fs::path file = rawFile(number);
    toolkit::NewFile made(file);
    copyWhatCame(
        file, back, [&] { channel.SaveFile(made.partial().string(), CChannelDriver::eSaveRaw); },
        [&] { return rawBytes(made.partial()); });
    made.putInPlace();
}

void RecordingOutputs::write(CChannelDriver& channel, unsigned number, const ReadBack& back,
                             SessionResult& result) const {
    if (!back.whole() && back.samples == 0) {
        return;
    }
    if (!save.empty()) {
        addSection(channel, number == 1, back);
        if (number == 1) {
            result.files.push_back({"traceData", "trace data file", save.string()});
        }
    }
    if (!raw.empty()) {
        copyRaw(channel, number, back);
        result.files.push_back(
            {rawCopies, count > 1 ? "raw copy " + std::to_string(number) : "raw copy", rawFile(number).string()});
    }
}

} // namespace host
