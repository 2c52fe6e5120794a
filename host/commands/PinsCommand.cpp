#include "host/commands/Commands.h"
#include "host/pins/PinAnswers.h"
#include "host/pins/PinWarnings.h"
#include "host/platform/Platform.h"
#include "host/scenario/ChannelSettingsFile.h"
#include "host/scenario/DevicesFile.h"
#include "host/session/Receiver.h"
#include "pinmap/TracePinMapper.h"
#include "toolkit/FilePath.h"
#include "toolkit/Format.h"
#include "toolkit/JsonText.h"
#include "toolkit/Masked.h"
#include "toolkit/Text.h"
#include "toolkit/TextFile.h"

#include <CLI/CLI.hpp>

#include <array>
#include <iostream>
#include <optional>
#include <sstream>

namespace host {

namespace {

using Vx::Qrs::Trace::OrvRcvr::TracePinMapper;

/// The kinds that channel settings can ask for.
const std::vector<std::string> settingsKinds{"pti", "tpiu", "tpiulite"};
constexpr std::array settingsCounts{1U, 2U, 4U};

std::string dataText(const PinList& pins) {
    return pinsText(PinList(pins.begin() + 1, pins.end()));
}

nlohmann::json toJson(const PinAnswer& answer) {
    nlohmann::json out{{"kind", answer.kind}, {"dataPins", answer.dataPins}, {"granted", answer.granted}};
    if (!answer.asked.empty()) {
        out["asked"] = answer.asked;
    }
    if (answer.granted) {
        out["pinout"] = answer.pinout;
        out["pins"] = answer.pins;
        out["owner"] = answer.owner;
    }
    if (!answer.remark.empty()) {
        out["remark"] = answer.remark;
    }
    return out;
}

/// `orvtrace pins`.
class PinsCommand : public Command {
public:
    PinsCommand() : Command("pins", "Tell which pins of a device can carry trace") {}

    void setUp(CLI::App& app) override {
        app.footer("Without --pins every wish that channel settings can have is answered. With it a\n"
                   "wish that would be refused gives exit code 5. Alone: the bench's devices.\n"
                   "Example: orvtrace pins --device bench/app --kind pti --pins 0,1,2");
        auto* byName =
            app.add_option("--device", device, "Full CPU name, as the device data base knows it")->option_text("NAME");
        app.add_option("--map-file", mapFile, "Read a pin map file instead of the data base")
            ->option_text("FILE")
            ->excludes(byName);
        app.add_option("--kind", kind, "Kind of trace export: pti, tpiu or tpiulite")
            ->option_text("KIND")
            ->check(CLI::IsMember(settingsKinds));
        app.add_option("--pins", pins, "1, 2 or 4 data pins, or EMU pins, clock first: 0,1,2")
            ->option_text("N|LIST")
            ->check([](const std::string& text) {
                return pinChoiceOf(text) ? std::string()
                                         : std::string("must be 1, 2 or 4, or a clock and 1, 2 or 4 data pins out of "
                                                       "0 to 5, such as 0,1,2");
            });
        addJson(app);
    }

    toolkit::ExitCode run() override;

private:
    toolkit::ExitCode listDevices() const;
    void forEachPinout(
        const TracePinMapper& mapper,
        const std::function<void(const std::string& pinout, const std::string& of, const PinList&)>& visit) const;
    void read(TracePinMapper& mapper) const;
    std::vector<PinAnswer> answers(TracePinMapper& mapper) const;
    void printPlain(const TracePinMapper& mapper, const std::vector<PinAnswer>& answers) const;
    void printJson(const TracePinMapper& mapper, const std::vector<PinAnswer>& answers) const;

    std::string device;
    std::string mapFile;
    std::string kind;
    std::string pins;
    std::vector<std::string> warnings;
};

void PinsCommand::read(TracePinMapper& mapper) const {
    if (!mapFile.empty()) {
        toolkit::readText(toolkit::filePath(mapFile)); // says more of a missing file than the mapper does
        guarded(toolkit::ExitCode::BadInput, [&] { mapper.readPinMapFile(mapFile.c_str()); });
        return;
    }
    try {
        guarded(toolkit::ExitCode::CalibrationRefused, [&] { mapper.readDeviceDatabase(device.c_str()); });
    } catch (const toolkit::Failure& failure) {
        throw toolkit::Failure(failure.code, device + ": " + failure.what());
    }
}

/// All wishes, or the one that was asked for.
std::vector<PinAnswer> PinsCommand::answers(TracePinMapper& mapper) const {
    std::vector<PinAnswer> all;
    for (const std::string& each : kind.empty() ? settingsKinds : std::vector{kind}) {
        if (!pins.empty()) {
            const PinChoice choice = pinChoiceOf(pins).value();
            PinList asked;
            for (const std::string& item : toolkit::split(choice.pinMap, ',')) {
                asked.push_back(static_cast<std::uint32_t>(std::stoul(item)));
            }
            all.push_back(answerOf(mapper.getPinouts(), each, choice.dataPins, asked));
        } else {
            for (const unsigned count : settingsCounts) {
                all.push_back(answerOf(mapper.getPinouts(), each, count, {}));
            }
        }
        for (PinAnswer& answer : all) {
            answer.owner = answer.granted ? mapper.getOwnerName(answer.kind) : std::string();
        }
    }
    return all;
}

/// Those of the kind that was asked for, or all.
void PinsCommand::forEachPinout(
    const TracePinMapper& mapper,
    const std::function<void(const std::string& pinout, const std::string& of, const PinList&)>& visit) const {
    for (const auto& [pinout, kinds] : mapper.getPinouts()) {
        for (const auto& [each, lists] : kinds) {
            for (const PinList& list : lists) {
                if (kind.empty() || kind == each) {
                    visit(pinout, each, list);
                }
            }
        }
    }
}

void PinsCommand::printPlain(const TracePinMapper& mapper, const std::vector<PinAnswer>& answers) const {
    std::ostringstream out;
    out << toolkit::masked(device.empty() ? "pin map file " + mapFile : "device " + device) << "\n\n"
        << toolkit::print("%-12s %-9s %9s  %5s  %s\n", "pin-out", "kind", "data pins", "clock", "data (bit 0 first)");
    forEachPinout(mapper, [&](const std::string& pinout, const std::string& of, const PinList& list) {
        out << toolkit::print("%-12s %-9s %9zu  %5u  %s\n", toolkit::masked(pinout).c_str(),
                              toolkit::masked(of).c_str(), list.size() - 1, list.front(), dataText(list).c_str());
    });
    out << "\n" << toolkit::print("%-9s %-10s %s\n", "kind", "asked", "answer");
    for (const PinAnswer& answer : answers) {
        const std::string asked =
            answer.asked.empty() ? toolkit::countText(answer.dataPins, "pin") : pinsText(answer.asked);
        out << toolkit::print("%-9s %-10s ", answer.kind.c_str(), asked.c_str());
        if (answer.granted) {
            out << "granted: clock " << answer.pins.front() << ", data " << dataText(answer.pins) << " of "
                << toolkit::masked(answer.pinout)
                << (answer.owner.empty() ? "" : ", owned by " + toolkit::masked(answer.owner));
        } else {
            out << "refused";
        }
        out << (answer.remark.empty() ? "" : ": " + toolkit::masked(answer.remark)) << "\n";
    }
    toolkit::printText(out.str());
}

void PinsCommand::printJson(const TracePinMapper& mapper, const std::vector<PinAnswer>& answers) const {
    nlohmann::json out;
    out[device.empty() ? "mapFile" : "device"] = device.empty() ? mapFile : device;
    out["pinouts"] = nlohmann::json::array();
    forEachPinout(mapper, [&](const std::string& pinout, const std::string& of, const PinList& list) {
        out["pinouts"].push_back({{"pinout", pinout}, {"kind", of}, {"pins", list}});
    });
    out["answers"] = nlohmann::json::array();
    for (const PinAnswer& answer : answers) {
        out["answers"].push_back(toJson(answer));
    }
    out["warnings"] = warnings;
    std::cout << toolkit::jsonText(out);
}

/// A device data base cannot be asked for all that it knows; that of the bench is a file.
toolkit::ExitCode PinsCommand::listDevices() const {
    const std::string own = getEnvironment("ORV_BENCH_DEVICES");
    const auto devices = devicesOf(own.empty() ? programFolder() / "devices.toml" : toolkit::filePath(own));
    if (devices.empty() || !kind.empty() || !pins.empty()) {
        throw toolkit::Failure(toolkit::ExitCode::Usage, "give --device NAME or --map-file FILE");
    }
    nlohmann::json list = nlohmann::json::array();
    for (const auto& [known, note] : devices) {
        if (json) {
            list.push_back({{"device", known}, {"note", note}});
        } else {
            toolkit::printText(toolkit::print("%-18s ", toolkit::masked(known).c_str()) + toolkit::masked(note) + "\n");
        }
    }
    if (json) {
        std::cout << toolkit::jsonText({{"devices", list}});
    }
    return toolkit::ExitCode::Done;
}

toolkit::ExitCode PinsCommand::run() {
    if (device.empty() && mapFile.empty()) {
        return listDevices();
    }
    std::optional<LoadedLibrary> library;
    if (mapFile.empty()) { // says more of a missing library than the mapper does
        library.emplace(programFolder() / toolkit::filePath(libraryFileName("PartIdentifier")));
    }
    TracePinMapper mapper;
    read(mapper);
    guarded(toolkit::ExitCode::BadInput, [&] {
        warnings = pinWarnings(library ? pinoutTextsOfDevice(*library, device)
                                       : Vx::Qrs::Trace::OrvRcvr::readPinMapTexts(mapFile.c_str()),
                               kind);
    });
    for (const std::string& warning : warnings) {
        toolkit::printNotice("warning: " + warning);
    }
    const std::vector<PinAnswer> all = answers(mapper);
    if (json) {
        printJson(mapper, all);
    } else {
        printPlain(mapper, all);
    }
    const bool refused =
        !pins.empty() && std::none_of(all.begin(), all.end(), [](const PinAnswer& answer) { return answer.granted; });
    return refused ? toolkit::ExitCode::CalibrationRefused : toolkit::ExitCode::Done;
}

} // namespace

std::unique_ptr<Command> makePinsCommand() {
    return std::make_unique<PinsCommand>();
}

} // namespace host
