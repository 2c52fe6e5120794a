#include "diagnosis/Diagnosis.h"
#include "host/commands/Commands.h"
#include "host/commands/Conclusion.h"
#include "host/commands/SessionFlags.h"
#include "host/commands/StandardStreams.h"
#include "host/platform/Platform.h"
#include "host/scenario/NamesFile.h"
#include "host/session/Receiver.h"
#include "tdf/TdfFile.h"
#include "toolkit/FilePath.h"
#include "toolkit/Format.h"
#include "toolkit/JsonText.h"
#include "toolkit/Masked.h"
#include "toolkit/OutputFiles.h"
#include "toolkit/TextFile.h"

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <functional>
#include <iostream>
#include <memory>
#include <utility>

namespace host {

namespace {

namespace fs = std::filesystem;
using diagnosis::StreamMode;
using Vx::Qrs::Trace::OrvRcvr::TdfFile;
using Vx::Qrs::Trace::OrvRcvr::TdfSection;

constexpr const char* traceSection = "BinTraceData";
constexpr std::uint64_t noSamples = ~std::uint64_t{0};
constexpr std::uint64_t noFrameStart = ~std::uint64_t{0};

/// Runs an operation on a trace data file; its failure names the file.
void onTraceDataFile(const std::string& file, const std::function<void()>& work) {
    try {
        guarded(toolkit::ExitCode::BadInput, work);
    } catch (const toolkit::Failure& failure) {
        throw toolkit::Failure(failure.code, file + ": " + failure.what());
    }
}

class CheckCommand final : public Command {
public:
    CheckCommand() : Command("check", "Check that a recorded stream holds together; get its payload") {}

    void setUp(Syntax& syntax) override;
    toolkit::ExitCode run() override;

private:
    diagnosis::StreamForm given() const;
    diagnosis::ByteReader reader() const;
    diagnosis::FileCheck checked() const;
    diagnosis::RunVerdict verdictOn(const diagnosis::FileCheck& recording) const;
    void requireOneReading() const;
    void testOutputs(const NamedOutputs& outputs);
    void writeOutputs(const diagnosis::FileCheck& recording, const NamedOutputs& outputs);
    void writeSnapshot();
    fs::path snapshotFile(const std::string& part) const { return toolkit::filePath(snapshot) / part; }

    std::string file;
    std::string runPlace;
    std::string mode;
    std::uint32_t width = 0;
    std::string pattern;
    double hertz = 0.0;
    std::uint64_t samples = noSamples;
    std::uint32_t section = 0; ///< from 1; 0: the first of the name
    std::string payload;
    std::string snapshot;
    std::uint64_t frameStart = noFrameStart;
    std::string names;
    bool force = false;
    bool strict = false;
    nlohmann::json written = nlohmann::json::object();
    nlohmann::json framesJson;
    std::string writtenText;
};

void CheckCommand::setUp(Syntax& syntax) {
    syntax.addArgument(file, "FILE", "Samples, a trace data file, or - for the standard input");
    syntax.addOption("--run", runPlace, "DIR", "Folder of the run (found beside FILE)");
    syntax.addOption("--mode", mode, "KIND", "Kind of trace export: pti, tpiu or tpiulite")
        .oneOf({"pti", "tpiu", "tpiulite"});
    syntax.addWhole("--width", width, "N", 1, 4, "Data pins: 1, 2 or 4");
    std::vector<std::string> patterns;
    for (const std::string_view each : diagnosis::checkedPatternNames()) {
        patterns.emplace_back(each);
    }
    syntax.addOption("--pattern", pattern, "NAME", "Compare every word: ramp, ramp1, f0, a5, walk").oneOf(patterns);
    syntax.addHertz("--clock", hertz, 1.0, 1e9, "Rate of the trace clock, such as 50MHz, for times");
    syntax.addWhole("--samples", samples, "N", 0, 0xFFFFFFFF,
                    "Samples that the receiver announced; fewer are a damage");
    syntax.addWhole("--number", section, "N", 1, 1000000, "Section of a trace data file (first BinTraceData)");
    syntax.addOption("--payload", payload, "FILE", "Write what the target sent, without packets");
    syntax.addOption("--snapshot", snapshot, "DIR", "Write a folder that trc_pkt_lister lists");
    syntax.addWhole("--frame-start", frameStart, "N", 0, 0xFFFFFFFF, "Byte where a frame begins, for --snapshot");
    addNames(syntax, names);
    addForce(syntax, force);
    addStrict(syntax, strict);
    syntax.footer("Exit code 10 if the stream is damaged, or the verdict on its run is a fault.\n"
                  "Example: orvtrace check run/.VX-trace/data/clean.bin");
}

diagnosis::StreamForm CheckCommand::given() const {
    diagnosis::StreamForm form;
    form.mode = diagnosis::streamModeNamed(mode).value_or(StreamMode::Unknown);
    form.lanes = width;
    form.pattern = pattern;
    form.clockHertz = hertz;
    if (samples != noSamples) {
        form.announcedSamples = samples;
    }
    return form;
}

/// Of the file's name, in lower case.
std::string endingOf(const std::string& name) {
    std::string ending = toolkit::filePath(name).extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(), [](unsigned char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : static_cast<char>(letter);
    });
    return ending;
}

bool isTraceDataFile(const std::string& name) {
    return endingOf(name) == ".tdf";
}

/// The other files of a run would be judged as damaged streams.
void requireRecording(const std::string& name) {
    constexpr std::array others{".txt", ".xml", ".json", ".html", ".cfg", ".cache", ".properties", ".toml"};
    const std::string ending = endingOf(name);
    if (std::find(others.begin(), others.end(), ending) != others.end()) {
        throw toolkit::Failure(toolkit::ExitCode::BadInput,
                               name + " is no recording: its name ends in " + ending +
                                   "; give samples (.bin, .ver), a trace data file (.tdf) or -");
    }
}

/// The data of a section, as they come.
diagnosis::ByteReader sectionReader(const std::string& file, const TdfSection& section) {
    const auto start = std::make_shared<std::uint32_t>(0);
    return [=](std::span<std::uint8_t> out) {
        std::uint32_t loaded = 0;
        onTraceDataFile(file, [&] {
            TdfFile::loadSectionPart(file.c_str(), section, *start, out.data(), static_cast<std::uint32_t>(out.size()),
                                     &loaded);
        });
        *start += loaded;
        return static_cast<std::size_t>(loaded);
    };
}

/// The file's bytes from the first one on.
diagnosis::ByteReader CheckCommand::reader() const {
    if (file == standardStream) {
        readInputAsBytes();
        return [](std::span<std::uint8_t> out) {
            std::cin.read(reinterpret_cast<char*>(out.data()), static_cast<std::streamsize>(out.size()));
            return static_cast<std::size_t>(std::cin.gcount());
        };
    }
    if (!isTraceDataFile(file)) {
        requireRecording(file);
        return diagnosis::fileReader(toolkit::filePath(file));
    }
    toolkit::requireReadable(toolkit::filePath(file));
    TdfSection found;
    if (section == 0) {
        onTraceDataFile(file, [&] { TdfFile::findSection(file.c_str(), traceSection, &found); });
        return sectionReader(file, found);
    }
    std::vector<TdfSection> sections;
    onTraceDataFile(file, [&] { TdfFile::listSections(file.c_str(), &sections); });
    if (section > sections.size()) {
        throw toolkit::Failure(toolkit::ExitCode::BadInput, file + ": there is no section " + std::to_string(section) +
                                                                "; it has " +
                                                                toolkit::countText(sections.size(), "section"));
    }
    return sectionReader(file, sections[section - 1]);
}

diagnosis::FileCheck CheckCommand::checked() const {
    diagnosis::FileCheck result;
    result.name = file;
    const diagnosis::ByteReader read = reader();
    const fs::path recording = toolkit::filePath(file);
    if (!runPlace.empty()) {
        result.facts = diagnosis::factsOfRun(toolkit::filePath(runPlace), recording);
    } else if (file != standardStream) {
        result.facts = diagnosis::factsBeside(recording);
    }
    result.facts.form = diagnosis::merged(given(), result.facts.form);
    if (!names.empty()) {
        result.facts.names = laneNamesOf(names);
    }
    const diagnosis::StreamForm& form = result.facts.form;
    if (!form.pattern.empty() && form.lanes == 0) {
        throw toolkit::Failure(toolkit::ExitCode::Usage,
                               "a pattern depends on the number of data pins; give --width 1, 2 or 4");
    }
    if (!form.pattern.empty() && form.mode == StreamMode::Unknown) {
        throw toolkit::Failure(
            toolkit::ExitCode::Usage,
            "the words of a pattern depend on the kind of export; give --mode pti, tpiu or tpiulite");
    }
    result.check = diagnosis::checkStream(read, form);
    return result;
}

/// The standard input can be read only once.
void CheckCommand::requireOneReading() const {
    if (width == 3) {
        throw toolkit::Failure(toolkit::ExitCode::Usage, "--width: 1, 2 or 4 data pins");
    }
    if (file == standardStream && (!payload.empty() || !snapshot.empty())) {
        throw toolkit::Failure(toolkit::ExitCode::Usage,
                               "--payload and --snapshot need a file, not the standard input");
    }
}

void CheckCommand::testOutputs(const NamedOutputs& outputs) {
    toolkit::CommandFiles files(force);
    files.read(toolkit::filePath(file));
    outputs.test(files);
    if (snapshot.empty()) {
        return;
    }
    std::error_code failed;
    const fs::path folder = toolkit::filePath(snapshot);
    if (fs::exists(folder, failed)) {
        if (!fs::is_directory(folder, failed)) {
            throw toolkit::Failure(toolkit::ExitCode::OutputUnwritable, snapshot + ": it is a file");
        }
        for (const char* part : {"snapshot.ini", "trace.ini", diagnosis::snapshotFrames}) {
            files.write(snapshotFile(part));
        }
    }
}

void CheckCommand::writeSnapshot() {
    toolkit::MadeFolders folders;
    std::error_code failed;
    if (!fs::is_directory(toolkit::filePath(snapshot), failed) && !folders.make(toolkit::filePath(snapshot))) {
        throw toolkit::Failure(toolkit::ExitCode::OutputUnwritable, snapshot + ": the folder cannot be made");
    }
    diagnosis::FrameFigures frames;
    const std::optional<std::uint64_t> start =
        frameStart == noFrameStart ? std::nullopt : std::optional<std::uint64_t>(frameStart);
    toolkit::writeOutputFile(snapshotFile(diagnosis::snapshotFrames),
                             [&](std::ostream& out) { frames = diagnosis::writeFrames(reader(), start, out); });
    for (const diagnosis::SnapshotFile& each : diagnosis::snapshotFiles(frames)) {
        toolkit::writeOutputFile(snapshotFile(each.name), [&](std::ostream& out) { out << each.text; });
    }
    written["snapshot"] = snapshot;
    nlohmann::json sources = nlohmann::json::array();
    std::string list;
    for (const diagnosis::TraceSource& source : frames.sources) {
        sources.push_back({{"id", source.id}, {"count", source.count}});
        list += fmt::format("{}0x{:02X}", list.empty() ? "" : ", ", source.id);
    }
    framesJson = {{"count", frames.frames},
                  {"synchronised", frames.synchronised},
                  {"firstByte", frames.firstByte},
                  {"sources", sources}};
    writtenText += fmt::format(
        "{} from byte {} on ({}), trace sources {}: {}\n", toolkit::countText(frames.frames, "frame"), frames.firstByte,
        start ? "as given" : (frames.synchronised ? "by synchronisation" : "assumed; see --frame-start"),
        list.empty() ? "none" : list, toolkit::masked(snapshot));
}

void CheckCommand::writeOutputs(const diagnosis::FileCheck& recording, const NamedOutputs& outputs) {
    if (payload.empty() && snapshot.empty()) {
        return;
    }
    const StreamMode known = recording.check.form.mode;
    if (known == StreamMode::Unknown) {
        throw toolkit::Failure(toolkit::ExitCode::Usage,
                               "the packing of the words depends on the kind of export, which is "
                               "not known; give --mode pti, tpiu or tpiulite");
    }
    if (!snapshot.empty() && known == StreamMode::Pti) {
        throw toolkit::Failure(toolkit::ExitCode::BadInput,
                               file +
                                   ": a pti export has no frames, which --snapshot needs; --payload writes its bytes");
    }
    if (!payload.empty()) {
        std::uint64_t bytes = 0;
        outputs.write(payload, [&](std::ostream& out) { bytes = diagnosis::writePayload(reader(), known, out); });
        written["payload"] = payload;
        writtenText += toolkit::countText(bytes, "byte") + " of payload in " +
                       (payload == standardStream ? std::string("the standard output") : toolkit::masked(payload)) +
                       "\n";
    }
    if (!snapshot.empty()) {
        writeSnapshot();
    }
}

/// The verdict on the run that the recording belongs to, with this recording as the one that counts.
diagnosis::RunVerdict CheckCommand::verdictOn(const diagnosis::FileCheck& recording) const {
    diagnosis::DiagnosticSet set;
    if (!recording.facts.source.empty()) {
        set = diagnosis::readDiagnostics(toolkit::filePath(recording.facts.source));
    }
    set.names = recording.facts.names;
    if (!set.checks) {
        set.checks.emplace();
    }
    set.checks->recordings.clear();
    auto& judged = set.checks->recordings.emplace_back();
    judged.stream = recording.check;
    judged.samples = recording.check.samples;
    judged.announcedSamples = recording.check.form.announcedSamples.value_or(judged.samples);
    return diagnosis::judgeRun(set, diagnosis::diagnose(set));
}

toolkit::ExitCode CheckCommand::run() {
    requireOneReading();
    const NamedOutputs outputs({payload}, json);
    testOutputs(outputs);
    const diagnosis::FileCheck recording = checked();
    writeOutputs(recording, outputs);
    const diagnosis::RunVerdict verdict = verdictOn(recording);
    const toolkit::ExitCode code = diagnosis::exitCodeOf(verdict, toolkit::ExitCode::Done, strict);
    if (json) {
        nlohmann::json out = diagnosis::recordingJson(recording);
        out["files"] = written;
        out["frames"] = framesJson;
        out["runVerdict"] = diagnosis::verdictJson(verdict);
        out.update(toolkit::resultHead(code));
        toolkit::printText(toolkit::jsonText(out));
    } else {
        const std::string text = diagnosis::recordingText(recording) + writtenText;
        outputs.print(text);
    }
    std::cout << std::flush;
    for (const std::string& note : recording.facts.notes) {
        toolkit::printNotice(note);
    }
    if (!json && payload != standardStream) {
        printVerdict(verdict);
    }
    return code;
}

} // namespace

std::unique_ptr<Command> makeCheckCommand() {
    return std::make_unique<CheckCommand>();
}

} // namespace host
