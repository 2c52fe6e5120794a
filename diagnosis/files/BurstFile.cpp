#include "diagnosis/files/BurstFile.h"

#include "toolkit/Text.h"
#include "toolkit/TextFile.h"

#include <algorithm>
#include <array>

namespace diagnosis {

namespace {

constexpr std::size_t largestBurstFile = std::size_t{1} << 26;

struct PinField {
    std::string_view key;
    int BurstPin::* field;
};

constexpr std::array pinFields{
    PinField{"rcvrpin", &BurstPin::rcvrpin}, PinField{"filter", &BurstPin::filter},
    PinField{"plateau", &BurstPin::plateau}, PinField{"debounce", &BurstPin::debounce},
    PinField{"delay", &BurstPin::delay},     PinField{"stretch", &BurstPin::stretch},
    PinField{"enable", &BurstPin::enable},
};

BurstPin pinOf(const toolkit::TextLine& line, std::size_t proc, const std::string& file) {
    const std::string head = "P" + std::to_string(proc) + " : ";
    BurstPin pin;
    if (!line.text.starts_with(head)) {
        toolkit::damaged(file, line.number,
                         "expected the settings of P" + std::to_string(proc) + ", found " + toolkit::shown(line.text));
    }
    const auto parts = toolkit::splitAt(line.text.substr(head.size()), ',');
    for (std::size_t i = 0; i < pinFields.size(); ++i) {
        const auto entry = i < parts.size() ? toolkit::keyValue(parts[i]) : std::nullopt;
        const auto value =
            entry && entry->key == pinFields[i].key ? toolkit::numberOf<int>(entry->value) : std::nullopt;
        if (!value) {
            toolkit::damaged(file, line.number,
                             "expected " + std::string(pinFields[i].key) + "=NUMBER in the settings of P" +
                                 std::to_string(proc));
        }
        pin.*pinFields[i].field = *value;
    }
    return pin;
}

void takeSamples(Burst& burst, const toolkit::TextLine& line, std::size_t sample, const std::string& file) {
    std::string_view rest = line.text;
    for (std::size_t proc = 0; proc < burst.pins.size(); ++proc) {
        rest = toolkit::trimmed(rest);
        if (proc + 1 == burst.pins.size() && (rest == "0" || rest == "1")) {
            toolkit::damaged(file, line.number,
                             "sample " + std::to_string(sample) +
                                 " has all levels but no number: the file is cut off; take it "
                                 "from the receiver's folder again");
        }
        if (rest.size() < 2 || (rest.front() != '0' && rest.front() != '1') || rest[1] != ' ') {
            toolkit::damaged(file, line.number,
                             "expected " + std::to_string(burst.pins.size()) + " levels of 0 or 1, found " +
                                 toolkit::shown(line.text));
        }
        burst.pins[proc].levels.push_back(rest.front() == '1');
        rest.remove_prefix(2);
    }
    const auto number = toolkit::numberOf<std::size_t>(toolkit::trimmed(rest));
    if (number != sample) {
        toolkit::damaged(file, line.number,
                         "expected sample " + std::to_string(sample) + ", found " +
                             toolkit::shown(toolkit::trimmed(rest)));
    }
}

} // namespace

Burst parseBurst(std::string_view text, const std::string& file) {
    const std::vector<toolkit::TextLine> lines = toolkit::textLines(text);
    Burst burst;
    burst.rates = parseRates(lines, file);
    std::size_t at = 4;
    std::string columns;
    while (at < lines.size() && lines[at].text.find(':') != std::string_view::npos) {
        if (burst.pins.size() == limits::mostPins) {
            toolkit::damaged(file, lines[at].number, "more pins than the unit has");
        }
        columns += "P" + std::to_string(burst.pins.size()) + " ";
        burst.pins.push_back(pinOf(lines[at], burst.pins.size(), file));
        ++at;
    }
    if (burst.pins.empty() || at >= lines.size() || lines[at].text != columns + "Sample") {
        toolkit::damaged(file, at + 1, "expected the heading of the samples, " + toolkit::shown(columns + "Sample"));
    }
    ++at;
    for (BurstPin& pin : burst.pins) {
        pin.levels.reserve(lines.size() - at);
    }
    for (std::size_t sample = 0; at < lines.size(); ++sample, ++at) {
        takeSamples(burst, lines[at], sample, file);
    }
    if (burst.samples() == 0) {
        toolkit::damaged(file, lines.size(), "there are no samples; take the file from the receiver's folder again");
    }
    return burst;
}

bool Burst::taken() const {
    return std::any_of(pins.begin(), pins.end(), [](const BurstPin& pin) { return pin.enable != 0; });
}

Burst readBurst(const std::filesystem::path& file) {
    return parseBurst(toolkit::readText(file, 0, largestBurstFile), file.string());
}

int emuOfInput(int rcvrpin) {
    // The wiring of the unit's connector: EMU 0 to 5 reach these inputs.
    constexpr std::array inputs{4, 5, 2, 3, 6, 7};
    for (std::size_t emu = 0; emu < inputs.size(); ++emu) {
        if (inputs[emu] == rcvrpin) {
            return static_cast<int>(emu);
        }
    }
    return -1;
}

} // namespace diagnosis
