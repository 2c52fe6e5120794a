#include "diagnosis/Diagnosis.h"
#include "host/commands/BurstsBelow.h"
#include "host/commands/Commands.h"
#include "host/commands/SessionFlags.h"
#include "host/commands/StandardStreams.h"
#include "host/platform/Platform.h"
#include "host/scenario/NamesFile.h"
#include "toolkit/FilePath.h"
#include "toolkit/JsonText.h"
#include "toolkit/Masked.h"
#include "toolkit/OutputFiles.h"
#include "toolkit/Remedy.h"
#include "toolkit/Text.h"
#include "toolkit/TextFile.h"

#include <fmt/core.h>

#include <array>
#include <ctime>
#include <filesystem>
#include <functional>
#include <iostream>
#include <iterator>

namespace host {

namespace {

using diagnosis::Burst;

/// More than any burst has.
constexpr std::uint64_t mostSamples = 1000000000;

/// The local time, for the head of a file.
std::string now() {
    const std::time_t time = std::time(nullptr);
    std::array<char, 32> text{};
    const std::tm* local = std::localtime(&time);
    return local != nullptr && std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", local) != 0 ? text.data()
                                                                                                        : "";
}

/// The burst of a folder that holds one.
std::string onlyBurst(const std::string& place) {
    const std::vector<std::filesystem::path> bursts = burstsBelow(toolkit::filePath(place));
    if (bursts.empty()) {
        throw toolkit::Failure(toolkit::ExitCode::BadInput,
                               place + " is a folder without a burst, a file that ends in .cap.txt");
    }
    if (bursts.size() > 1) {
        std::vector<std::string> names;
        for (const std::filesystem::path& each : bursts) {
            names.push_back(toolkit::quoted(each.string()));
        }
        throw toolkit::Failure(toolkit::ExitCode::BadInput,
                               place + " is a folder; name one of its bursts: " + toolkit::joined(names, ", "));
    }
    return bursts.front().string();
}

/// The names that the run gave its pins, from the file beside the burst.
toolkit::LaneNames namesBeside(const std::string& burst) {
    try {
        return diagnosis::readDiagnostics(toolkit::filePath(burst)).names;
    } catch (const toolkit::Failure&) {
        return {};
    }
}

Burst readGiven(const std::string& file) {
    if (file != standardStream) {
        return diagnosis::readBurst(toolkit::filePath(file));
    }
    readInputAsBytes();
    const std::string text{std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>()};
    return diagnosis::parseBurst(text, "the standard input");
}

class BurstCommand final : public Command {
public:
    BurstCommand() : Command("burst", "Write a burst for waveform viewers and spreadsheets, or draw it") {}

    void setUp(Syntax& syntax) override {
        syntax.addArgument(file, "FILE", "The burst: a file that ends in .cap.txt, - , or a folder with one");
        syntax.addOption("--vcd", vcd, "FILE", "Write a value change dump, for GTKWave or sigrok");
        syntax.addOption("--sr", sr, "FILE", "Write a session for PulseView and sigrok");
        syntax.addOption("--csv", csv, "FILE", "Write comma-separated values, a line for each sample");
        syntax.addOption("--svg", svg, "FILE", "Draw the waveforms as a picture");
        syntax.addWhole("--from", from, "N", 0, mostSamples, "First sample (0)");
        syntax.addWhole("--to", to, "N", 1, mostSamples, "One past the last sample (all)");
        syntax.addOption("--pins", pins, "LIST", "Pins in their order, such as CLK,D0 (all)");
        addNames(syntax, given);
        syntax.addOption("--title", title, "TEXT", "Heading of the picture");
        addForce(syntax, force);
        syntax.footer("Times come from the sampling rate in the burst's head.\n"
                      "For one of the outputs - is the standard output.\n"
                      "Example: orvtrace burst run/.VX-trace/data/clean.freq1.cap.txt --vcd clean.vcd");
    }

    toolkit::ExitCode run() override {
        const std::vector<Output> wanted = outputs();
        if (wanted.empty()) {
            throw toolkit::Failure(toolkit::ExitCode::Usage,
                                   "give one or more of --vcd FILE, --sr FILE, --csv FILE, --svg FILE");
        }
        std::vector<std::string> names;
        for (const Output& each : wanted) {
            names.push_back(*each.file);
        }
        const NamedOutputs named(names, json);
        toolkit::CommandFiles files(force);
        if (file != standardStream) {
            files.read(toolkit::filePath(file));
        }
        named.test(files);
        std::error_code failed;
        if (std::filesystem::is_directory(toolkit::filePath(file), failed)) {
            file = onlyBurst(file);
        }
        const Burst burst = readGiven(file);
        const diagnosis::BurstPart part =
            diagnosis::partOf(burst, from, to, pins, given.empty() ? namesBeside(file) : laneNamesOf(given));
        for (const Output& each : wanted) {
            named.write(*each.file, [&](std::ostream& out) { each.write(out, burst, part); });
        }
        if (json) {
            toolkit::printText(jsonOf(burst, part));
        } else {
            named.print(textOf(burst, part));
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

    std::string jsonOf(const Burst& burst, const diagnosis::BurstPart& part) const {
        nlohmann::json out = toolkit::resultHead(toolkit::ExitCode::Done);
        out["samples"] = part.to - part.from;
        out["samplesPerSecond"] = burst.rates.sampleRate();
        out["rateMeasured"] = burst.rates.known();
        out["pins"] = nlohmann::json::array();
        for (const std::size_t proc : part.pins) {
            out["pins"].push_back(toolkit::pinKey(proc));
        }
        out["labels"] = toolkit::labelsJson(
            burst.pins.size(), [&](std::size_t proc) { return part.names.label(diagnosis::laneOf(burst, proc)); });
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
            text += *each.file == standardStream ? "" : "  " + toolkit::masked(*each.file) + "\n";
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
    std::string given; ///< names of the pins
    bool force = false;
};

} // namespace

std::unique_ptr<Command> makeBurstCommand() {
    return std::make_unique<BurstCommand>();
}

} // namespace host
