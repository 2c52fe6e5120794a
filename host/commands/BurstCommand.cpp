#include "diagnosis/Diagnosis.h"
#include "host/commands/Commands.h"
#include "toolkit/FilePath.h"
#include "toolkit/JsonText.h"
#include "toolkit/Masked.h"
#include "toolkit/Numbers.h"
#include "toolkit/OutputFiles.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <utility>

namespace host {

namespace {

using diagnosis::Burst;

/// More than any burst has.
constexpr std::int64_t mostSamples = 1000000000;

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
    std::string list;
    for (const std::string& name : bursts) {
        list += (list.empty() ? "" : ", ") + name;
    }
    throw toolkit::Failure(toolkit::ExitCode::BadInput,
                           place + (list.empty() ? " is a folder without a burst, a file that ends in .cap.txt"
                                                 : " is a folder; name one of its bursts: " + list));
}

class BurstCommand final : public Command {
public:
    BurstCommand() : Command("burst", "Write a burst for waveform viewers and spreadsheets, or draw it") {}

    void setUp(CLI::App& app) override {
        app.add_option("file", file, "The burst: a file that ends in .cap.txt")->required()->option_text("FILE");
        app.add_option("--vcd", vcd, "Write a value change dump, for GTKWave or sigrok")->option_text("FILE");
        app.add_option("--csv", csv, "Write comma-separated values, a line for each sample")->option_text("FILE");
        app.add_option("--svg", svg, "Draw the waveforms as a picture")->option_text("FILE");
        app.add_option("--from", from, "First sample (0)")
            ->option_text("N")
            ->check(toolkit::wholeNumberFrom(0, mostSamples));
        app.add_option("--to", to, "One past the last sample (all)")
            ->option_text("N")
            ->check(toolkit::wholeNumberFrom(1, mostSamples));
        app.add_option("--pins", pins, "Pins in their order, such as clock,data1,data4 (all)")->option_text("LIST");
        app.add_option("--title", title, "Heading of the picture")->option_text("TEXT");
        app.add_flag("--force", force, "Overwrite outputs that exist");
        addJson(app);
        app.footer("Times come from the samples a second that the burst's head gives.\n"
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
        tell(burst, part);
        return toolkit::ExitCode::Done;
    }

private:
    void tell(const Burst& burst, const diagnosis::BurstPart& part) const {
        if (json) {
            nlohmann::json out{{"outcome", "done"},
                               {"exitCode", 0},
                               {"samples", part.to - part.from},
                               {"samplesPerSecond", burst.rates.sampleRate()},
                               {"rateMeasured", burst.rates.known()},
                               {"pins", nlohmann::json::array()},
                               {"files", nlohmann::json::object()}};
            for (const std::size_t proc : part.pins) {
                out["pins"].push_back(diagnosis::signalName(proc));
            }
            const std::pair<const char*, std::string> outputs[] = {{"vcd", vcd}, {"csv", csv}, {"svg", svg}};
            for (const auto& [kind, output] : outputs) {
                if (!output.empty()) {
                    out["files"][kind] = output;
                }
            }
            std::cout << toolkit::jsonText(out) << std::flush;
            return;
        }
        std::cout << part.to - part.from << " samples of " << part.pins.size() << " pins, "
                  << burst.rates.sampleRate() / 1e9 << "e9 a second";
        if (!burst.rates.known()) {
            std::cout << " (the unit's usual clock; no frequency was measured)";
        }
        std::cout << "\n";
        for (const std::string& output : {vcd, csv, svg}) {
            if (!output.empty()) {
                toolkit::printText("  " + toolkit::masked(output) + "\n");
            }
        }
        std::cout << std::flush;
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
