#include "host/commands/Commands.h"
#include "host/commands/SessionFlags.h"
#include "host/commands/TerminalText.h"
#include "host/pins/PinAnswers.h"
#include "host/pins/PinWarnings.h"
#include "host/platform/Platform.h"
#include "host/scenario/ScenarioFile.h"
#include "host/session/Receiver.h"
#include "pinmap/TracePinMapper.h"
#include "toolkit/FilePath.h"
#include "toolkit/Format.h"
#include "toolkit/JsonText.h"
#include "toolkit/LaneNames.h"
#include "toolkit/Masked.h"
#include "toolkit/Table.h"
#include "toolkit/Text.h"
#include "toolkit/TextFile.h"

#include <algorithm>
#include <array>
#include <iostream>
#include <optional>

namespace host {

using toolkit::orNull;

namespace {

using Vx::Qrs::Trace::OrvRcvr::TracePinMapper;

/// The kinds that channel settings can ask for.
const std::vector<std::string> settingsKinds{"pti", "tpiu", "tpiulite"};
constexpr std::array settingsCounts{1U, 2U, 4U};

std::string dataText(const PinList& pins) {
    return pinsText(PinList(pins.begin() + 1, pins.end()));
}

nlohmann::json toJson(const PinAnswer& answer) {
    const auto list = [](const PinList& pins) { return pins.empty() ? nlohmann::json() : nlohmann::json(pins); };
    return {{"exportKind", answer.kind},     {"dataPins", answer.dataPins},    {"asked", list(answer.asked)},
            {"granted", answer.granted},     {"emuPins", list(answer.pins)},   {"pinout", orNull(answer.pinout)},
            {"owner", orNull(answer.owner)}, {"remark", orNull(answer.remark)}};
}

/// "CLK EMU0, D0 EMU1".
std::string lanesText(const PinList& pins) {
    std::string text;
    for (std::size_t i = 0; i < pins.size(); ++i) {
        const std::size_t proc = i == 0 ? 0 : pins.size() - i;
        text +=
            (i == 0 ? "" : ", ") + toolkit::laneLabel({proc, pins.size() - 1, {}}) + " EMU" + std::to_string(pins[i]);
    }
    return text;
}

std::string toText(const PinAnswer& answer) {
    std::string text = "refused";
    if (answer.granted) {
        text = "granted: " + lanesText(answer.pins) + " of " + answer.pinout +
               (answer.owner.empty() ? "" : ", owned by " + answer.owner);
    }
    return text + (answer.remark.empty() ? "" : ": " + answer.remark);
}

/// `orvtrace pins`.
class PinsCommand : public Command {
public:
    PinsCommand() : Command("pins", "Print which pins of a device can carry trace") {}

    void setUp(Syntax& syntax) override {
        syntax.footer("Without --pins every request that channel settings can make is answered. With it\n"
                      "the exit code is 5 if the request would be refused. Without options: the bench's devices.\n"
                      "Example: orvtrace pins --device bench/app --kind pti --pins 0,1,2");
        const Option byName =
            syntax.addOption("--device", device, "NAME", "Full CPU name, as the device data base knows it");
        syntax.addOption("--map-file", mapFile, "FILE", "Read a pin map file instead of the data base")
            .excludes(byName);
        syntax.addOption("--kind", kind, "KIND", "Kind of trace export: pti, tpiu or tpiulite").oneOf(settingsKinds);
        addPins(syntax, pins);
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
    void printJson(const TracePinMapper& mapper, const std::vector<PinAnswer>& answers, toolkit::ExitCode code) const;

    std::string device;
    std::string mapFile;
    std::string kind;
    std::string pins;
    std::vector<std::string> warnings;
};

void PinsCommand::read(TracePinMapper& mapper) const {
    if (!mapFile.empty()) {
        toolkit::requireReadable(toolkit::filePath(mapFile)); // more specific about a missing file than the mapper
        guarded(toolkit::ExitCode::BadInput, [&] { mapper.readPinMapFile(mapFile.c_str()); });
        return;
    }
    try {
        guarded(toolkit::ExitCode::CalibrationRefused, [&] { mapper.readDeviceDatabase(device.c_str()); });
    } catch (const toolkit::Failure& failure) {
        throw toolkit::Failure(failure.code, device + ": " + failure.what());
    }
}

/// Answers to all requests, or to the one on the command line.
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

/// Pin-outs of the requested kind, or all.
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
    toolkit::Table pinouts({"pin-out", "kind", ">data pins", ">CLK EMU", "data EMU, D0 first"});
    forEachPinout(mapper, [&](const std::string& pinout, const std::string& of, const PinList& list) {
        pinouts.addRow({pinout, of, std::to_string(list.size() - 1), std::to_string(list.front()), dataText(list)});
    });
    toolkit::Table requests({"kind", "asked", "answer"});
    for (const PinAnswer& answer : answers) {
        requests.addRow({answer.kind,
                         answer.asked.empty() ? toolkit::countText(answer.dataPins, "pin") : pinsText(answer.asked),
                         toText(answer)});
    }
    const std::size_t columns = outputColumns();
    printResult(toolkit::masked(device.empty() ? "pin map file " + mapFile : "device " + device) + "\n\n" +
                pinouts.text(columns) + "\n" + requests.text(columns));
}

void PinsCommand::printJson(const TracePinMapper& mapper, const std::vector<PinAnswer>& answers,
                            toolkit::ExitCode code) const {
    nlohmann::json out = toolkit::resultHead(code);
    out["device"] = orNull(device);
    out["mapFile"] = orNull(mapFile);
    out["pinouts"] = nlohmann::json::array();
    forEachPinout(mapper, [&](const std::string& pinout, const std::string& of, const PinList& list) {
        out["pinouts"].push_back({{"name", pinout}, {"exportKind", of}, {"emuPins", list}});
    });
    out["answers"] = nlohmann::json::array();
    for (const PinAnswer& answer : answers) {
        out["answers"].push_back(toJson(answer));
    }
    out["notes"] = warnings;
    std::cout << toolkit::jsonText(out);
}

/// A real device data base cannot be listed; that of the bench is a file.
toolkit::ExitCode PinsCommand::listDevices() const {
    const std::string own = getEnvironment("ORV_BENCH_DEVICES");
    const auto devices = devicesOf(own.empty() ? programFolder() / "devices.toml" : toolkit::filePath(own));
    if (devices.empty() || !kind.empty() || !pins.empty()) {
        throw toolkit::Failure(toolkit::ExitCode::Usage, "give --device NAME or --map-file FILE");
    }
    nlohmann::json out = toolkit::resultHead(toolkit::ExitCode::Done);
    toolkit::Table table(2);
    for (const auto& [known, note] : devices) {
        out["devices"].push_back({{"name", known}, {"note", note}});
        table.addRow({known, note});
    }
    if (json) {
        toolkit::printText(toolkit::jsonText(out));
    } else {
        printResult(table.text(outputColumns()));
    }
    return toolkit::ExitCode::Done;
}

toolkit::ExitCode PinsCommand::run() {
    if (device.empty() && mapFile.empty()) {
        return listDevices();
    }
    std::optional<LoadedLibrary> library;
    if (mapFile.empty()) { // more specific about a missing library than the mapper
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
    const bool refused =
        !pins.empty() && std::none_of(all.begin(), all.end(), [](const PinAnswer& answer) { return answer.granted; });
    const toolkit::ExitCode code = refused ? toolkit::ExitCode::CalibrationRefused : toolkit::ExitCode::Done;
    if (json) {
        printJson(mapper, all, code);
    } else {
        printPlain(mapper, all);
    }
    return code;
}

} // namespace

std::unique_ptr<Command> makePinsCommand() {
    return std::make_unique<PinsCommand>();
}

} // namespace host
