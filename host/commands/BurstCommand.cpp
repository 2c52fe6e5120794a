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

#include <filesystem>
#include <iostream>
#include <iterator>
#include <utility>

namespace host {

namespace {

using diagnosis::Burst;

/// More than any burst has.
constexpr std::uint64_t mostSamples = 1000000000;

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
        syntax.addOption("--csv", csv, "FILE", "Write comma-separated values, a line for each sample");
        syntax.addOption("--svg", svg, "FILE", "Draw the waveforms as a picture");
        syntax.addWhole("--from", from, "N", 0, mostSamples, "First sample (0)");
        syntax.addWhole("--to", to, "N", 1, mostSamples, "One past the last sample (all)");
        syntax.addOption("--pins", pins, "LIST", "Pins in their order, such as CLK,D0 (all)");
        addNames(syntax, given);
        syntax.addOption("--title", title, "TEXT", "Heading of the picture");
        addForce(syntax, force);
        syntax.footer("Times come from the samples a second that the burst's head gives.\n"
                      "Example: orvtrace burst run/.VX-trace/data/clean.freq1.cap.txt --vcd clean.vcd");
    }

    toolkit::ExitCode run() override {
        if (vcd.empty() && csv.empty() && svg.empty()) {
            throw toolkit::Failure(toolkit::ExitCode::Usage, "give one or more of --vcd FILE, --csv FILE, --svg FILE");
        }
        const NamedOutputs outputs({vcd, csv, svg}, json);
        toolkit::CommandFiles files(force);
        if (file != standardStream) {
            files.read(toolkit::filePath(file));
        }
        outputs.test(files);
        std::error_code failed;
        if (std::filesystem::is_directory(toolkit::filePath(file), failed)) {
            file = onlyBurst(file);
        }
        const Burst burst = readGiven(file);
        const diagnosis::BurstPart part =
            diagnosis::partOf(burst, from, to, pins, given.empty() ? namesBeside(file) : laneNamesOf(given));
        outputs.write(vcd, [&](std::ostream& out) { diagnosis::writeVcd(out, burst, part); });
        outputs.write(csv, [&](std::ostream& out) { diagnosis::writeCsv(out, burst, part); });
        outputs.write(svg, [&](std::ostream& out) { diagnosis::writeSvg(out, burst, part, title); });
        if (json) {
            toolkit::printText(jsonOf(burst, part));
        } else {
            outputs.print(textOf(burst, part));
        }
        return toolkit::ExitCode::Done;
    }

private:
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
        for (const auto& [kind, output] : {std::pair{"vcd", &vcd}, std::pair{"csv", &csv}, std::pair{"svg", &svg}}) {
            if (!output->empty()) {
                out["files"][kind] = *output;
            }
        }
        return toolkit::jsonText(out);
    }

    std::string textOf(const Burst& burst, const diagnosis::BurstPart& part) const {
        std::string text =
            fmt::format("{} samples of {} pins, {:g}e9 a second{}\n", part.to - part.from, part.pins.size(),
                        burst.rates.sampleRate() / 1e9,
                        burst.rates.known() ? "" : " (the unit's usual clock; no frequency was measured)");
        for (const std::string& output : {vcd, csv, svg}) {
            text += output.empty() || output == standardStream ? "" : "  " + toolkit::masked(output) + "\n";
        }
        return text;
    }

    std::string file;
    std::string vcd;
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
