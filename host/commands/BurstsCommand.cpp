#include "diagnosis/Diagnosis.h"
#include "host/commands/BurstsBelow.h"
#include "host/commands/Commands.h"
#include "host/commands/TerminalText.h"
#include "host/platform/Platform.h"
#include "toolkit/FilePath.h"
#include "toolkit/Format.h"
#include "toolkit/JsonText.h"
#include "toolkit/Masked.h"
#include "toolkit/Table.h"

#include <algorithm>

namespace host {

std::vector<std::filesystem::path> burstsBelow(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> bursts;
    std::error_code failed;
    std::filesystem::recursive_directory_iterator at(folder, std::filesystem::directory_options::skip_permission_denied,
                                                     failed);
    for (; !failed && at != std::filesystem::recursive_directory_iterator(); at.increment(failed)) {
        if (at->path().string().ends_with(".cap.txt")) {
            bursts.push_back(at->path());
        }
    }
    std::sort(bursts.begin(), bursts.end());
    return bursts;
}

namespace {

/// What one file holds; without a burst if it is damaged.
struct FoundBurst {
    std::filesystem::path file;
    std::optional<diagnosis::Burst> burst;
    bool ofLostMargin = false; ///< of a margin that failed during a recording
    std::optional<double> hertz;
};

FoundBurst foundBurst(const std::filesystem::path& file, std::vector<std::string>& troubles) {
    FoundBurst found;
    found.file = file;
    found.ofLostMargin = file.string().ends_with(".err.cap.txt");
    try {
        found.burst = diagnosis::readBurst(file);
        if (found.burst->rates.known()) {
            found.hertz = found.burst->rates.exportFrequency;
        }
    } catch (const toolkit::Failure& failure) {
        troubles.emplace_back(failure.what());
    }
    return found;
}

const char* kindOf(const FoundBurst& found) {
    return found.ofLostMargin ? "lost margin" : "calibration";
}

class BurstsCommand final : public Command {
public:
    BurstsCommand() : Command("bursts", "List the bursts of a run") {}

    void setUp(Syntax& syntax) override {
        syntax.addArgument(place, "DIR", "Folder of a run");
        syntax.footer("orvtrace burst writes one of them for other programs.\nExample: orvtrace bursts run");
    }

    toolkit::ExitCode run() override {
        std::error_code failed;
        if (!std::filesystem::is_directory(toolkit::filePath(place), failed)) {
            throw toolkit::Failure(toolkit::ExitCode::BadInput, place + " is not a folder; give the folder of a run");
        }
        std::vector<std::string> troubles;
        std::vector<FoundBurst> bursts;
        for (const std::filesystem::path& file : burstsBelow(toolkit::filePath(place))) {
            bursts.push_back(foundBurst(file, troubles));
        }
        if (bursts.empty()) {
            throw toolkit::Failure(toolkit::ExitCode::BadInput,
                                   place + " is a folder without a burst, a file that ends in .cap.txt");
        }
        if (json) {
            toolkit::printText(jsonOf(bursts, troubles));
        } else {
            printTable(bursts);
        }
        for (const std::string& trouble : troubles) {
            toolkit::printNotice(trouble + "; it was left out");
        }
        return troubles.empty() ? toolkit::ExitCode::Done : toolkit::ExitCode::BadInput;
    }

private:
    static void printTable(const std::vector<FoundBurst>& bursts) {
        toolkit::Table table({">clock", ">pins", ">samples", "taken at", "file"});
        for (const FoundBurst& each : bursts) {
            table.addRow({each.hertz ? toolkit::frequencyText(*each.hertz) : "-",
                          each.burst ? std::to_string(each.burst->pins.size()) : "-",
                          each.burst ? std::to_string(each.burst->samples()) : "-", kindOf(each), each.file.string()});
        }
        printResult(table.text(outputColumns()));
    }

    static std::string jsonOf(const std::vector<FoundBurst>& bursts, const std::vector<std::string>& troubles) {
        nlohmann::json out =
            toolkit::resultHead(troubles.empty() ? toolkit::ExitCode::Done : toolkit::ExitCode::BadInput);
        out["bursts"] = nlohmann::json::array();
        for (const FoundBurst& each : bursts) {
            if (each.burst) {
                out["bursts"].push_back({{"file", each.file.string()},
                                         {"hertz", toolkit::orNull(each.hertz)},
                                         {"dataPins", each.burst->dataPins()},
                                         {"samples", each.burst->samples()},
                                         {"lostMargin", each.ofLostMargin}});
            }
        }
        out["damaged"] = troubles;
        return toolkit::jsonText(out);
    }

    std::string place;
};

} // namespace

std::unique_ptr<Command> makeBurstsCommand() {
    return std::make_unique<BurstsCommand>();
}

} // namespace host
