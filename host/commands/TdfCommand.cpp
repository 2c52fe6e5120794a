#include "host/commands/Commands.h"
#include "host/commands/SessionFlags.h"
#include "host/commands/StandardStreams.h"
#include "host/commands/TerminalText.h"
#include "host/platform/Platform.h"
#include "host/session/Receiver.h"
#include "tdf/TdfFile.h"
#include "toolkit/FilePath.h"
#include "toolkit/Format.h"
#include "toolkit/JsonText.h"
#include "toolkit/Masked.h"
#include "toolkit/OutputFiles.h"
#include "toolkit/Remedy.h"
#include "toolkit/Table.h"
#include "toolkit/TextFile.h"

#include <fstream>
#include <iostream>

namespace host {

namespace {

namespace fs = std::filesystem;
using Vx::Qrs::Trace::OrvRcvr::TdfFile;
using Vx::Qrs::Trace::OrvRcvr::TdfSection;

constexpr const char* traceSection = "BinTraceData";
// Parts of the messages about trace data files.
constexpr const char* invalidFormat = "Invalid TDF format";
constexpr const char* notLocated = "section cannot be located";
constexpr std::size_t chunkBytes = 65536;

/// Runs an operation on a trace data file; its failure names the file.
void onFile(const std::string& file, const std::function<void()>& work) {
    try {
        guarded(toolkit::ExitCode::BadInput, work);
    } catch (const toolkit::Failure& failure) {
        throw toolkit::Failure(failure.code, file + ": " + failure.what());
    }
}

/// `orvtrace tdf`.
class TdfCommand : public Command {
public:
    TdfCommand() : Command("tdf", "List, extract and create trace data files") {}
    void setUp(Syntax& syntax) override;
    toolkit::ExitCode run() override { return (this->*chosen)(); }

private:
    std::vector<TdfSection> sectionsOf(std::string& damage) const;
    toolkit::ExitCode list();
    toolkit::ExitCode extract();
    toolkit::ExitCode create();
    TdfSection wantedSection() const;
    void print(nlohmann::json more, const std::string& text) const;

    toolkit::ExitCode (TdfCommand::*chosen)() = nullptr;
    std::string file;
    std::string output;
    std::string section = traceSection;
    unsigned number = 0; ///< from 1; 0: by name
    std::string data;
    unsigned version = 1;
    bool force = false;
};

void TdfCommand::setUp(Syntax& syntax) {
    syntax.footer("Example: orvtrace tdf list trace.tdf");

    Syntax lists =
        syntax.addSubcommand("list", "Print the sections of a trace data file", [this] { chosen = &TdfCommand::list; });
    lists.addArgument(file, "FILE.tdf", "The trace data file");

    Syntax extracts = syntax.addSubcommand("extract", "Write the data of one section into a file",
                                           [this] { chosen = &TdfCommand::extract; });
    extracts.footer("Example: orvtrace tdf extract trace.tdf trace.bin --number 2");
    extracts.addArgument(file, "FILE.tdf", "The trace data file");
    extracts.addArgument(output, "FILE", "The new file, or - for the standard output");
    const Option byName =
        extracts.addOption("--section", section, "NAME", "The first section of this name (BinTraceData)");
    extracts.addWhole("--number", number, "N", 1, 1000000, "The section of this number in the list").excludes(byName);
    addForce(extracts, force);

    Syntax creates = syntax.addSubcommand("create", "Make a trace data file, empty or with one section",
                                          [this] { chosen = &TdfCommand::create; });
    creates.footer("Example: orvtrace tdf create trace.tdf --data trace.bin");
    creates.addArgument(file, "FILE.tdf", "The new trace data file").check(checkTdfName);
    const Option from = creates.addOption("--data", data, "FILE", "File whose bytes become a section's data");
    creates.addOption("--section", section, "NAME", "Its name (BinTraceData)").needs(from);
    creates.addWhole("--version", version, "N", 0, 0xFFFFFFFF, "Version of its contents (1)").needs(from);
    addForce(creates, force);
}

nlohmann::json toJson(const TdfSection& section) {
    return {{"name", section.name}, {"version", section.version},       {"offset", section.offset},
            {"size", section.size}, {"dataOffset", section.dataOffset}, {"dataSize", section.dataSize}};
}

void TdfCommand::print(nlohmann::json more, const std::string& text) const {
    if (json) {
        more.update(toolkit::resultHead(toolkit::ExitCode::Done));
        std::cout << toolkit::jsonText(more);
    } else {
        printResult(text + "\n");
    }
}

/// `damage` says why the list ends early; empty for a complete list.
std::vector<TdfSection> TdfCommand::sectionsOf(std::string& damage) const {
    toolkit::requireReadable(toolkit::filePath(file));
    std::vector<TdfSection> sections;
    try {
        onFile(file, [&] { TdfFile::listSections(file.c_str(), &sections); });
    } catch (const toolkit::Failure& failure) {
        damage = failure.what();
        if (sections.size() == 1) {
            damage += " Its first section can be read";
        } else if (!sections.empty()) {
            damage += " Its first " + std::to_string(sections.size()) + " sections can be read";
        } else if (damage.find(invalidFormat) != std::string::npos) {
            damage += " It is no trace data file, or its beginning is damaged";
        }
    }
    return sections;
}

toolkit::ExitCode TdfCommand::list() {
    std::string damage;
    const std::vector<TdfSection> sections = sectionsOf(damage);
    const toolkit::Failure failure(toolkit::ExitCode::BadInput, damage);
    if (json) {
        nlohmann::json out =
            damage.empty() ? toolkit::resultHead(toolkit::ExitCode::Done) : toolkit::failureJson(failure);
        out["file"] = file;
        out["sections"] = nlohmann::json::array();
        for (const TdfSection& each : sections) {
            out["sections"].push_back(toJson(each));
        }
        std::cout << toolkit::jsonText(out) << std::flush;
        if (!damage.empty()) {
            toolkit::printFailure(failure.code, damage);
        }
        return damage.empty() ? toolkit::ExitCode::Done : failure.code;
    }
    if (damage.empty() || !sections.empty()) {
        toolkit::Table table({">number", "section", ">version", ">offset", ">data", "bytes"});
        for (std::size_t i = 0; i < sections.size(); ++i) {
            const TdfSection& each = sections[i];
            table.addRow({std::to_string(i + 1), each.name, std::to_string(each.version), std::to_string(each.offset),
                          std::to_string(each.dataSize), toolkit::sizeText(each.dataSize)});
        }
        printResult(table.text(outputColumns()));
    }
    if (!damage.empty()) {
        throw toolkit::Failure(failure);
    }
    return toolkit::ExitCode::Done;
}

TdfSection TdfCommand::wantedSection() const {
    TdfSection found;
    if (number == 0) {
        try {
            onFile(file, [&] { TdfFile::findSection(file.c_str(), section.c_str(), &found); });
        } catch (const toolkit::Failure& failure) {
            const std::string text = failure.what();
            if (text.find(notLocated) == std::string::npos) {
                throw;
            }
            throw toolkit::Failure(failure.code,
                                   text + " orvtrace tdf list " + toolkit::quoted(file) + " lists the sections");
        }
        return found;
    }
    std::string damage;
    const std::vector<TdfSection> sections = sectionsOf(damage);
    if (number > sections.size()) {
        throw toolkit::Failure(toolkit::ExitCode::BadInput,
                               !damage.empty() ? damage
                                               : file + ": there is no section " + std::to_string(number) +
                                                     "; it has " + toolkit::countText(sections.size(), "section"));
    }
    return sections[number - 1];
}

toolkit::ExitCode TdfCommand::extract() {
    toolkit::requireReadable(toolkit::filePath(file));
    toolkit::CommandFiles files(force);
    files.read(toolkit::filePath(file));
    const NamedOutputs outputs({output}, json);
    outputs.test(files);
    const TdfSection found = wantedSection();
    outputs.write(output, [&](std::ostream& out) {
        std::vector<char> chunk(chunkBytes);
        std::uint32_t loaded = 0;
        for (std::uint32_t start = 0; start < found.dataSize; start += loaded) {
            onFile(file, [&] {
                TdfFile::loadSectionPart(file.c_str(), found, start, chunk.data(),
                                         static_cast<std::uint32_t>(chunk.size()), &loaded);
            });
            if (loaded == 0) {
                break;
            }
            out.write(chunk.data(), loaded);
        }
    });
    if (output == standardStream) {
        return toolkit::ExitCode::Done;
    }
    print({{"file", file}, {"section", toJson(found)}, {"files", {{"data", output}}}},
          toolkit::countText(found.dataSize, "byte") + " of section " + toolkit::masked(found.name) + " in " +
              toolkit::masked(output));
    return toolkit::ExitCode::Done;
}

toolkit::ExitCode TdfCommand::create() {
    constexpr std::uint64_t most = 0xFFFF0000;
    std::error_code failed;
    toolkit::CommandFiles files(force);
    if (!data.empty()) {
        toolkit::requireReadable(toolkit::filePath(data));
        files.read(toolkit::filePath(data));
        if (fs::file_size(toolkit::filePath(data), failed) > most) {
            throw toolkit::Failure(toolkit::ExitCode::BadInput, data + " is too long; a section holds less than 4 GB");
        }
    }
    files.write(toolkit::filePath(file));
    toolkit::NewFile made(toolkit::filePath(file));
    const std::string partial = made.partial().string();
    std::uint64_t bytes = 0;
    const auto write = [&] {
        TdfFile::createFile(partial.c_str());
        if (data.empty()) {
            return;
        }
        std::uint32_t offset = 0;
        std::uint32_t size = 0;
        TdfFile::beginSection(partial.c_str(), section.c_str(), version, &offset);
        std::ifstream in(toolkit::filePath(data), std::ios::binary);
        std::vector<char> chunk(chunkBytes);
        while (in.read(chunk.data(), static_cast<std::streamsize>(chunk.size())), in.gcount() > 0) {
            TdfFile::appendSectionData(partial.c_str(), section.c_str(), offset, chunk.data(), 1,
                                       static_cast<std::uint32_t>(in.gcount()), &size);
            bytes += static_cast<std::uint64_t>(in.gcount());
        }
    };
    guardedOutput(toolkit::filePath(file), write);
    made.putInPlace();
    std::string damage;
    const std::vector<TdfSection> written = sectionsOf(damage);
    if (!damage.empty()) {
        throw toolkit::Failure(toolkit::ExitCode::OutputUnwritable, damage);
    }
    print({{"section", written.empty() ? nlohmann::json() : toJson(written.front())}, {"files", {{"traceData", file}}}},
          toolkit::masked(file) +
              (data.empty() ? ", no sections"
                            : ", section " + toolkit::masked(section) + ", " + toolkit::countText(bytes, "byte")));
    return toolkit::ExitCode::Done;
}

} // namespace

std::unique_ptr<Command> makeTdfCommand() {
    return std::make_unique<TdfCommand>();
}

} // namespace host
