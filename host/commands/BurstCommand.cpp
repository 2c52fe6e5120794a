#include "diagnosis/Diagnosis.h"
#include "host/commands/Commands.h"
#include "host/platform/Platform.h"
#include "toolkit/FilePath.h"
#include "toolkit/JsonText.h"
#include "toolkit/Masked.h"
#include "toolkit/OutputFiles.h"
#include "toolkit/Remedy.h"
#include "toolkit/Text.h"
#include "toolkit/TextFile.h"

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <filesystem>
#include <functional>
#include <iostream>

namespace host {

namespace {

using diagnosis::Burst;

/// More than any burst has.
constexpr std::uint64_t mostSamples = 1000000000;

constexpr const char* standardOutput = "-";

/// The local time, for the head of a file.
std::string now() {
    const std::time_t time = std::time(nullptr);
    std::array<char, 32> text{};
    const std::tm* local = std::localtime(&time);
    return local != nullptr && std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", local) != 0 ? text.data()
                                                                                                        : "";
}

/// A folder may hold several bursts: they are named.
void requireNoFolder(const std::string& place) {
    std::error_code failed;
    const std::filesystem::path folder = toolkit::filePath(place);
    if (!std::filesystem::is_directory(folder, failed)) {
        return;
    }
    std::vector<std::string> bursts;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder, failed)) {
        const std::string name = entry.path().string();
        if (name.ends_with(".cap.txt")) {
            bursts.push_back(toolkit::quoted(name));
        }
    }
    std::sort(bursts.begin(), bursts.end());
    const std::string list = toolkit::joined(bursts, ", ");
    throw toolkit::Failure(toolkit::ExitCode::BadInput,
                           place + (list.empty() ? " is a folder without a burst, a file that ends in .cap.txt"
                                                 : " is a folder; name one of its bursts: " + list));
}

class BurstCommand final : public Command {
public:
    BurstCommand() : Command("burst", "Write a burst for waveform viewers and spreadsheets, or draw it") {}

    void setUp(Syntax& syntax) override {
        syntax.addArgument(file, "FILE", "The burst: a file that ends in .cap.txt");
        syntax.addOption("--vcd", vcd, "FILE", "Write a value change dump, for GTKWave or sigrok");
        syntax.addOption("--sr", sr, "FILE", "Write a session for PulseView and sigrok");
        syntax.addOption("--csv", csv, "FILE", "Write comma-separated values, a line for each sample");
        syntax.addOption("--svg", svg, "FILE", "Draw the waveforms as a picture");
        syntax.addWhole("--from", from, "N", 0, mostSamples, "First sample (0)");
        syntax.addWhole("--to", to, "N", 1, mostSamples, "One past the last sample (all)");
        syntax.addOption("--pins", pins, "LIST", "Pins in their order, such as clock,data1,data4 (all)");
        syntax.addOption("--title", title, "TEXT", "Heading of the picture");
        syntax.addFlag("--force", force, "Overwrite outputs that exist");
        syntax.footer("Times come from the samples a second that the burst's head gives.\n"
                      "For one of the outputs - is the standard output.\n"
                      "Example: orvtrace burst run/.VX-trace/data/clean.freq1.cap.txt --vcd clean.vcd");
    }

    toolkit::ExitCode run() override {
        testOutputs();
        requireNoFolder(file);
        const Burst burst = diagnosis::readBurst(toolkit::filePath(file));
        const diagnosis::BurstPart part = diagnosis::partOf(burst, from, to, pins);
        for (const Output& each : outputs()) {
            write(*each.file, [&](std::ostream& out) { each.write(out, burst, part); });
        }
        if (!printsFile()) {
            toolkit::printText(json ? jsonOf(burst, part) : textOf(burst, part));
        }
        return toolkit::ExitCode::Done;
    }

private:
    struct Output {
        const char* kind; ///< key in JSON
        const std::string* file;
        std::function<void(std::ostream&, const Burst&, const diagnosis::BurstPart&)> write;
    };

    /// Those that are on the command line.
    std::vector<Output> outputs() const {
        const auto picture = [this](std::ostream& out, const Burst& burst, const diagnosis::BurstPart& part) {
            diagnosis::writeSvg(out, burst, part, title);
        };
        const auto dump = [](std::ostream& out, const Burst& burst, const diagnosis::BurstPart& part) {
            diagnosis::writeVcd(out, burst, part, {"orvtrace " ORVTRACE_VERSION, now()});
        };
        std::vector<Output> all{{"vcd", &vcd, dump},
                                {"sr", &sr, diagnosis::writeSigrokSession},
                                {"csv", &csv, diagnosis::writeCsv},
                                {"svg", &svg, picture}};
        std::erase_if(all, [](const Output& each) { return each.file->empty(); });
        return all;
    }

    bool printsFile() const {
        const std::vector<Output> all = outputs();
        return std::any_of(all.begin(), all.end(), [](const Output& each) { return *each.file == standardOutput; });
    }

    void testOutputs() const {
        const std::vector<Output> all = outputs();
        if (all.empty()) {
            throw toolkit::Failure(toolkit::ExitCode::Usage,
                                   "give one or more of --vcd FILE, --sr FILE, --csv FILE, --svg FILE");
        }
        const auto printed =
            std::count_if(all.begin(), all.end(), [](const Output& each) { return *each.file == standardOutput; });
        if (printed > 1 || (printed == 1 && json)) {
            throw toolkit::Failure(toolkit::ExitCode::Usage,
                                   "the standard output takes one file, and none beside --json");
        }
        toolkit::CommandFiles files(force);
        files.read(toolkit::filePath(file));
        for (const Output& each : all) {
            if (*each.file != standardOutput) {
                files.write(toolkit::filePath(*each.file));
            }
        }
    }

    static void write(const std::string& output, const std::function<void(std::ostream&)>& content) {
        if (output == standardOutput) {
            writeOutputAsBytes();
            content(std::cout);
        } else {
            toolkit::writeOutputFile(toolkit::filePath(output), content);
        }
    }

    std::string jsonOf(const Burst& burst, const diagnosis::BurstPart& part) const {
        nlohmann::json out = toolkit::resultHead(toolkit::ExitCode::Done);
        out["samples"] = part.to - part.from;
        out["samplesPerSecond"] = burst.rates.sampleRate();
        out["rateMeasured"] = burst.rates.known();
        out["pins"] = nlohmann::json::array();
        for (const std::size_t proc : part.pins) {
            out["pins"].push_back(toolkit::pinKey(proc));
        }
        out["files"] = nlohmann::json::object();
        for (const Output& each : outputs()) {
            out["files"][each.kind] = *each.file;
        }
        return toolkit::jsonText(out);
    }

    std::string textOf(const Burst& burst, const diagnosis::BurstPart& part) const {
        std::string text =
            fmt::format("{} samples of {} pins, {:g}e9 a second{}\n", part.to - part.from, part.pins.size(),
                        burst.rates.sampleRate() / 1e9,
                        burst.rates.known() ? "" : " (the unit's usual clock; no frequency was measured)");
        for (const Output& each : outputs()) {
            text += "  " + toolkit::masked(*each.file) + "\n";
        }
        return text;
    }

    std::string file;
    std::string vcd;
    std::string sr;
    std::string csv;
    std::string svg;
    std::string title;
    std::size_t from = 0;
    std::size_t to = 0;
    std::string pins;
    bool force = false;
};

} // namespace

std::unique_ptr<Command> makeBurstCommand() {
    return std::make_unique<BurstCommand>();
}

} // namespace host
