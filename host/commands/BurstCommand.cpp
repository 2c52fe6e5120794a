#include "diagnosis/Diagnosis.h"
#include "host/commands/Commands.h"
#include "toolkit/FilePath.h"
#include "toolkit/JsonText.h"
#include "toolkit/Masked.h"
#include "toolkit/OutputFiles.h"
#include "toolkit/Remedy.h"
#include "toolkit/Text.h"
#include "toolkit/TextFile.h"

#include <fmt/core.h>

#include <algorithm>
#include <filesystem>
#include <utility>

namespace host {

namespace {

using diagnosis::Burst;

/// More than any burst has.
constexpr std::uint64_t mostSamples = 1000000000;

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
        syntax.addOption("--csv", csv, "FILE", "Write comma-separated values, a line for each sample");
        syntax.addOption("--svg", svg, "FILE", "Draw the waveforms as a picture");
        syntax.addWhole("--from", from, "N", 0, mostSamples, "First sample (0)");
        syntax.addWhole("--to", to, "N", 1, mostSamples, "One past the last sample (all)");
        syntax.addOption("--pins", pins, "LIST", "Pins in their order, such as clock,data1,data4 (all)");
        syntax.addOption("--title", title, "TEXT", "Heading of the picture");
        syntax.addFlag("--force", force, "Overwrite outputs that exist");
        syntax.footer("Times come from the samples a second that the burst's head gives.\n"
                      "Example: orvtrace burst run/.VX-trace/data/clean.freq1.cap.txt --vcd clean.vcd");
    }

    toolkit::ExitCode run() override {
        if (vcd.empty() && csv.empty() && svg.empty()) {
            throw toolkit::Failure(toolkit::ExitCode::Usage, "give one or more of --vcd FILE, --csv FILE, --svg FILE");
        }
        toolkit::CommandFiles files(force);
        files.read(toolkit::filePath(file));
        for (const std::string& output : {vcd, csv, svg}) {
            if (!output.empty()) {
                files.write(toolkit::filePath(output));
            }
        }
        requireNoFolder(file);
        const Burst burst = diagnosis::readBurst(toolkit::filePath(file));
        const diagnosis::BurstPart part = diagnosis::partOf(burst, from, to, pins);
        const auto write = [](const std::string& output, const auto& content) {
            if (!output.empty()) {
                toolkit::writeOutputFile(toolkit::filePath(output), content);
            }
        };
        write(vcd, [&](std::ostream& out) { diagnosis::writeVcd(out, burst, part); });
        write(csv, [&](std::ostream& out) { diagnosis::writeCsv(out, burst, part); });
        write(svg, [&](std::ostream& out) { diagnosis::writeSvg(out, burst, part, title); });
        toolkit::printText(json ? jsonOf(burst, part) : textOf(burst, part));
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
            text += output.empty() ? "" : "  " + toolkit::masked(output) + "\n";
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
    bool force = false;
};

} // namespace

std::unique_ptr<Command> makeBurstCommand() {
    return std::make_unique<BurstCommand>();
}

} // namespace host
