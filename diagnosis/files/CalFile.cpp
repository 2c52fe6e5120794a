#include "diagnosis/files/CalFile.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace diagnosis {

namespace {

constexpr std::size_t largestFile = 1 << 20;
constexpr std::size_t mostPins = 8;
constexpr std::uint32_t notSeen = 0x7FFFFFFF;
constexpr int neverSet = 0x7FFFFFFF; // of an attempt that ended before the pins were set up

std::optional<std::uint32_t> marginOf(std::string_view text, char sign, const std::string& file, std::size_t line) {
    const auto value = !text.empty() && text.front() == sign ? numberOf<std::uint32_t>(text.substr(1)) : std::nullopt;
    if (!value) {
        damaged(file, line, "expected margin=-NUMBER,+NUMBER");
    }
    return *value == notSeen ? std::nullopt : value;
}

void takeCount(std::optional<unsigned>& field, const KeyValue& entry, const std::string& file, std::size_t line) {
    field = numberOf<unsigned>(entry.value);
    if (!field) {
        damaged(file, line, shown(entry.key) + " is no count: " + shown(entry.value));
    }
}

void takePinLine(CalPin& pin, const KeyValue& entry, const std::string& file, std::size_t line) {
    if (entry.key == "correlation") {
        const auto parts = splitAt(entry.value, ',');
        if (parts.size() == 2) {
            pin.correlation = fractionOf(parts[0]);
            pin.correlationAtZero = fractionOf(parts[1]);
        }
        if (!pin.correlation || !pin.correlationAtZero) {
            damaged(file, line, "expected correlation=NUMBER,NUMBER");
        }
    } else if (entry.key == "margin") {
        const auto parts = splitAt(entry.value, ',');
        if (parts.size() != 2) {
            damaged(file, line, "expected margin=-NUMBER,+NUMBER");
        }
        pin.hold = marginOf(parts[0], '-', file, line);
        pin.setup = marginOf(parts[1], '+', file, line);
    } else if (entry.key == "edges") {
        takeCount(pin.edges, entry, file, line);
    } else if (entry.key == "glitches") {
        takeCount(pin.glitches, entry, file, line);
    } else if (entry.key == "ringing") {
        takeCount(pin.ringing, entry, file, line);
    } else {
        damaged(file, line, "unknown line " + shown(entry.key));
    }
}

struct ListLine {
    std::string_view key;
    std::optional<int> CalPin::* field;
};

constexpr std::array listLines{
    ListLine{"delays", &CalPin::delay},     ListLine{"stretches", &CalPin::stretch},
    ListLine{"filters", &CalPin::filter},   ListLine{"debounces", &CalPin::debounce},
    ListLine{"plateaus", &CalPin::plateau},
};

void takeProperty(CalFile& cal, const KeyValue& entry, const std::string& file, std::size_t line) {
    cal.properties.emplace_back(entry.key, entry.value);
    if (entry.key == "drmXmtr") {
        cal.exportKind = entry.value;
    }
    for (const ListLine& list : listLines) {
        if (entry.key != list.key) {
            continue;
        }
        const auto parts = splitAt(entry.value, ',');
        if (parts.size() != cal.pins.size()) {
            damaged(file, line,
                    std::string(list.key) + " has " + std::to_string(parts.size()) + " values for " +
                        std::to_string(cal.pins.size()) + " pins");
        }
        for (std::size_t pin = 0; pin < parts.size(); ++pin) {
            cal.pins[pin].*list.field = numberOf<int>(parts[pin]);
            if (!(cal.pins[pin].*list.field)) {
                damaged(file, line, std::string(list.key) + " has a value that is no number: " + shown(parts[pin]));
            }
        }
    }
}

/// Below the slowest analysed clock the file shows the margins of an attempt before, or none.
void dropWhatWasNotMeasured(CalFile& cal) {
    if (!cal.rates.known() || cal.rates.exportFrequency >= slowestAnalysed) {
        return;
    }
    for (CalPin& pin : cal.pins) {
        pin.hold.reset();
        pin.setup.reset();
    }
}

/// The reference pin fits itself. Where no pin fits any, the file shows the zeros of figures that were never computed.
void dropWhatWasNotCompared(CalFile& cal) {
    const auto fits = [](const CalPin& pin) {
        const double figure = pin.correlationAtZero.value_or(0.0);
        return std::isnan(figure) || std::abs(figure) > 0.0;
    };
    const bool compared = cal.rates.known() && cal.rates.exportFrequency >= slowestAnalysed &&
                          std::any_of(cal.pins.begin(), cal.pins.end(), fits);
    if (compared) {
        return;
    }
    for (CalPin& pin : cal.pins) {
        pin.correlation.reset();
        pin.correlationAtZero.reset();
    }
}

void dropWhatWasNeverSet(CalFile& cal) {
    for (CalPin& pin : cal.pins) {
        for (const ListLine& list : listLines) {
            if (pin.*list.field == neverSet) {
                (pin.*list.field).reset();
            }
        }
    }
}

} // namespace

CalFile parseCalFile(std::string_view text, const std::string& file) {
    const std::vector<TextLine> lines = textLines(text);
    CalFile cal;
    cal.rates = parseRates(lines, file);
    cal.dataRate = keyValue(lines[2].text)->value;
    cal.oversampling = keyValue(lines[3].text)->value;
    bool properties = false;
    for (const TextLine& line : std::span(lines).subspan(4)) {
        if (line.text.empty()) {
            continue;
        }
        if (line.text.front() == '[') {
            if (properties || line.text.back() != ']' || line.text.size() < 3) {
                damaged(file, line.number, "unexpected section " + shown(line.text));
            }
            const std::string_view section = line.text.substr(1, line.text.size() - 2);
            properties = section == "Properties";
            if (!properties && cal.pins.size() == mostPins) {
                damaged(file, line.number, "more pins than the unit has");
            }
            if (!properties) {
                cal.pins.emplace_back();
                cal.pins.back().name = section;
            }
            continue;
        }
        const auto entry = keyValue(line.text);
        if (!entry || (cal.pins.empty() && !properties)) {
            damaged(file, line.number, "expected a section or KEY=VALUE, found " + shown(line.text));
        }
        if (properties) {
            takeProperty(cal, *entry, file, line.number);
        } else {
            takePinLine(cal.pins.back(), *entry, file, line.number);
        }
    }
    if (!properties || cal.pins.empty() || !cal.pins.back().plateau) {
        damaged(file, lines.size(), "the file is cut off; take it from the receiver's folder again");
    }
    dropWhatWasNotMeasured(cal);
    dropWhatWasNotCompared(cal);
    dropWhatWasNeverSet(cal);
    return cal;
}

CalFile readCalFile(const std::filesystem::path& file) {
    return parseCalFile(readBytes(file, largestFile), file.string());
}

} // namespace diagnosis
