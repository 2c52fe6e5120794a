#include "host/commands/Commands.h"
#include "host/commands/SessionFlags.h"
#include "host/session/Receiver.h"
#include "tdf/TdfFile.h"
#include "toolkit/FilePath.h"
#include "toolkit/Format.h"
#include "toolkit/JsonText.h"
#include "toolkit/Masked.h"
#include "toolkit/Numbers.h"
#include "toolkit/OutputFiles.h"
#include "toolkit/Remedy.h"

#include <CLI/CLI.hpp>

#include <fstream>
#include <iostream>

namespace host {

namespace {

namespace fs = std::filesystem;
using Vx::Qrs::Trace::OrvRcvr::TdfFile;
using Vx::Qrs::Trace::OrvRcvr::TdfSection;

constexpr const char* traceSection = "BinTraceData";
// Of the messages of trace data files.
constexpr const char* invalidFormat = "Invalid TDF format";
constexpr const char* notLocated = "section cannot be located";
constexpr std::size_t chunkBytes = 65536;

void requireInput(const std::string& text) {
    const fs::path file = toolkit::filePath(text);
    std::error_code failed;
    if (fs::is_directory(file, failed)) {
        throw toolkit::Failure(toolkit::ExitCode::BadInput,
                               "cannot read " + text + ": it is a folder; give the name of a file");
    }
    if (!fs::is_regular_file(file, failed) || !std::ifstream(file, std::ios::binary)) {
        throw toolkit::Failure(toolkit::ExitCode::BadInput, "cannot read " + text + "; check the name and the folder");
    }
}

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
    void setUp(CLI::App& app) override;
    toolkit::ExitCode run() override;

private:
    std::vector<TdfSection> sectionsOf(std::string& damage) const;
    toolkit::ExitCode list() const;
    toolkit::ExitCode extract() const;
    toolkit::ExitCode create() const;
    TdfSection wantedSection() const;

    CLI::App* listApp = nullptr;
    CLI::App* extractApp = nullptr;
    std::string file;
    std::string output;
    std::string section = traceSection;
    unsigned number = 0; ///< from 1; 0: by name
    std::string data;
    unsigned version = 1;
    bool force = false;
};

void TdfCommand::setUp(CLI::App& app) {
    app.footer("Example: orvtrace tdf list trace.tdf");
    app.require_subcommand(1);
    const auto addFile = [this](CLI::App& to) {
        to.add_option("file", file, "The trace data file")->required()->option_text("FILE.tdf");
    };

    listApp = app.add_subcommand("list", "Tell the sections of a trace data file");
    addFile(*listApp);
    addJson(*listApp);

    extractApp = app.add_subcommand("extract", "Write the data of one section into a file");
    extractApp->footer("Example: orvtrace tdf extract trace.tdf trace.bin --number 2");
    addFile(*extractApp);
    extractApp->add_option("output", output, "The new file")->required()->option_text("FILE");
    auto* byName = extractApp->add_option("--section", section, "The first section of this name (BinTraceData)")
                       ->option_text("NAME");
    extractApp->add_option("--number", number, "The section of this number in the list")
        ->option_text("N")
        ->check(toolkit::wholeNumberFrom(1, 1000000))
        ->excludes(byName);
    extractApp->add_flag("--force", force, "Overwrite the output when it exists");
    addJson(*extractApp);

    CLI::App* createApp = app.add_subcommand("create", "Make a trace data file, empty or with one section");
    createApp->footer("Example: orvtrace tdf create trace.tdf --data trace.bin");
    createApp->add_option("file", file, "The new trace data file")
        ->required()
        ->option_text("FILE.tdf")
        ->check(checkTdfName);
    auto* from = createApp->add_option("--data", data, "File whose bytes become a section's data")->option_text("FILE");
    createApp->add_option("--section", section, "Its name (BinTraceData)")->option_text("NAME")->needs(from);
    createApp->add_option("--version", version, "Version of its contents (1)")
        ->option_text("N")
        ->check(toolkit::wholeNumberFrom(0, 0xFFFFFFFF))
        ->needs(from);
    createApp->add_flag("--force", force, "Overwrite the file when it exists");
    addJson(*createApp);
}

/// `damage` is why the list ends early, empty when it does not.
std::vector<TdfSection> TdfCommand::sectionsOf(std::string& damage) const {
    requireInput(file);
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

toolkit::ExitCode TdfCommand::list() const {
    std::string damage;
    const std::vector<TdfSection> sections = sectionsOf(damage);
    if (json) {
        nlohmann::json all = nlohmann::json::array();
        for (const TdfSection& each : sections) {
            all.push_back({{"name", each.name},
                           {"version", each.version},
                           {"offset", each.offset},
                           {"size", each.size},
                           {"dataOffset", each.dataOffset},
                           {"dataSize", each.dataSize}});
        }
        nlohmann::json out{{"file", file}, {"sections", all}, {"damaged", !damage.empty()}};
        if (!damage.empty()) {
            out.update(toolkit::failureJson(toolkit::Failure(toolkit::ExitCode::BadInput, damage)));
            toolkit::printFailure(toolkit::ExitCode::BadInput, damage);
        }
        std::cout << toolkit::jsonText(out) << std::flush;
        return damage.empty() ? toolkit::ExitCode::Done : toolkit::ExitCode::BadInput;
    }
    if (damage.empty() || !sections.empty()) {
        toolkit::printText(toolkit::print("%6s  %-20s %7s %10s %10s  %s\n", "number", "section", "version", "offset",
                                          "data", "bytes"));
    }
    for (std::size_t i = 0; i < sections.size(); ++i) {
        toolkit::printText(toolkit::print(
            "%6zu  %-20s %7u %10u %10u  %s\n", i + 1, toolkit::masked(sections[i].name).c_str(), sections[i].version,
            sections[i].offset, sections[i].dataSize, toolkit::sizeText(sections[i].dataSize).c_str()));
    }
    if (!damage.empty()) {
        throw toolkit::Failure(toolkit::ExitCode::BadInput, damage);
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
                                   text + " orvtrace tdf list " + toolkit::quoted(file) + " tells the sections");
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

toolkit::ExitCode TdfCommand::extract() const {
    requireInput(file);
    toolkit::CommandFiles files(force);
    files.read(toolkit::filePath(file));
    files.write(toolkit::filePath(output));
    const TdfSection found = wantedSection();
    toolkit::writeOutputFile(toolkit::filePath(output), [&](std::ostream& out) {
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
    if (json) {
        std::cout << toolkit::jsonText(
            {{"file", file}, {"section", found.name}, {"bytes", found.dataSize}, {"output", output}});
    } else {
        toolkit::printText(toolkit::countText(found.dataSize, "byte") + " of section " + toolkit::masked(found.name) +
                           " in " + toolkit::masked(output) + "\n");
    }
    return toolkit::ExitCode::Done;
}

toolkit::ExitCode TdfCommand::create() const {
    constexpr std::uint64_t most = 0xFFFF0000;
    std::error_code failed;
    toolkit::CommandFiles files(force);
    if (!data.empty()) {
        requireInput(data);
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
    if (json) {
        std::cout << toolkit::jsonText({{"file", file}, {"section", data.empty() ? "" : section}, {"bytes", bytes}});
    } else {
        toolkit::printText(toolkit::masked(file) +
                           (data.empty()
                                ? ", no sections"
                                : ", section " + toolkit::masked(section) + ", " + toolkit::countText(bytes, "byte")) +
                           "\n");
    }
    return toolkit::ExitCode::Done;
}

toolkit::ExitCode TdfCommand::run() {
    if (listApp->parsed()) {
        return list();
    }
    if (extractApp->parsed()) {
        return extract();
    }
    return create();
}

} // namespace

std::unique_ptr<Command> makeTdfCommand() {
    return std::make_unique<TdfCommand>();
}

} // namespace host
