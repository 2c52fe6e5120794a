#include "diagnosis/files/CalFile.h"

#include "toolkit/Text.h"
#include "toolkit/TextFile.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace diagnosis {

namespace {

constexpr std::size_t largestCalFile = 1 << 20;

std::optional<std::uint32_t> marginOf(std::string_view text, char sign, const std::string& file, std::size_t line) {
    const auto value =
        !text.empty() && text.front() == sign ? toolkit::numberOf<std::uint32_t>(text.substr(1)) : std::nullopt;
    if (!value) {
        toolkit::damaged(file, line, "expected margin=-NUMBER,+NUMBER");
    }
    return *value == limits::notMeasured ? std::nullopt : value;
}

void takeCount(std::optional<unsigned>& field, const toolkit::KeyValue& entry, const std::string& file,
               std::size_t line) {
    field = toolkit::numberOf<unsigned>(entry.value);
    if (!field) {
        toolkit::damaged(file, line, toolkit::shown(entry.key) + " is no count: " + toolkit::shown(entry.value));
    }
}

void takePinLine(CalPin& pin, const toolkit::KeyValue& entry, const std::string& file, std::size_t line) {
    if (entry.key == "correlation") {
        const auto parts = toolkit::splitAt(entry.value, ',');
        if (parts.size() == 2) {
            pin.correlation = toolkit::fractionOf(parts[0]);
            pin.correlationAtZero = toolkit::fractionOf(parts[1]);
        }
        if (!pin.correlation || !pin.correlationAtZero) {
            toolkit::damaged(file, line, "expected correlation=NUMBER,NUMBER");
        }
    } else if (entry.key == "margin") {
        const auto parts = toolkit::splitAt(entry.value, ',');
        if (parts.size() != 2) {
            toolkit::damaged(file, line, "expected margin=-NUMBER,+NUMBER");
        }
        pin.holdMargin = marginOf(parts[0], '-', file, line);
        pin.setupMargin = marginOf(parts[1], '+', file, line);
    } else if (entry.key == "edges") {
        takeCount(pin.edges, entry, file, line);
    } else if (entry.key == "glitches") {
        takeCount(pin.glitches, entry, file, line);
    } else if (entry.key == "ringing") {
        takeCount(pin.ringing, entry, file, line);
    } else {
        toolkit::damaged(file, line, "unknown line " + toolkit::shown(entry.key));
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

void takeProperty(CalFile& cal, const toolkit::KeyValue& entry, const std::string& file, std::size_t line) {
    cal.properties.emplace_back(entry.key, entry.value);
    if (entry.key == "drmXmtr") {
        cal.exportKind = entry.value;
    }
    for (const ListLine& list : listLines) {
        if (entry.key != list.key) {
            continue;
        }
        const auto parts = toolkit::splitAt(entry.value, ',');
        if (parts.size() != cal.pins.size()) {
            toolkit::damaged(file, line,
                             std::string(list.key) + " has " + std::to_string(parts.size()) + " values for " +
                                 std::to_string(cal.pins.size()) + " pins");
        }
        for (std::size_t pin = 0; pin < parts.size(); ++pin) {
            cal.pins[pin].*list.field = toolkit::numberOf<int>(parts[pin]);
            if (!(cal.pins[pin].*list.field)) {
                toolkit::damaged(file, line,
                                 std::string(list.key) +
                                     " has a value that is no number: " + toolkit::shown(parts[pin]));
            }
        }
    }
}

/// Below the slowest analysed clock the file shows the margins of an attempt before, or none.
void removeUnmeasured(CalFile& cal) {
    if (!cal.rates.known() || !cal.rates.belowAnalysis()) {
        return;
    }
    for (CalPin& pin : cal.pins) {
        pin.holdMargin.reset();
        pin.setupMargin.reset();
    }
}

/// The reference pin fits itself. Where no pin fits any, the file shows the zeros of figures that were never computed.
void removeUncompared(CalFile& cal) {
    const auto fits = [](const CalPin& pin) {
        const double figure = pin.correlationAtZero.value_or(0.0);
        return std::isnan(figure) || std::abs(figure) > 0.0;
    };
    const bool compared =
        cal.rates.known() && !cal.rates.belowAnalysis() && std::any_of(cal.pins.begin(), cal.pins.end(), fits);
    if (compared) {
        return;
    }
    for (CalPin& pin : cal.pins) {
        pin.correlation.reset();
        pin.correlationAtZero.reset();
    }
}

void removeUnset(CalFile& cal) {
    for (CalPin& pin : cal.pins) {
        for (const ListLine& list : listLines) {
            if (pin.*list.field == static_cast<int>(limits::notMeasured)) {
                (pin.*list.field).reset();
            }
        }
    }
}

} // namespace

CalFile parseCalFile(std::string_view text, const std::string& file) {
    const std::vector<toolkit::TextLine> lines = toolkit::textLines(text);
    CalFile cal;
    cal.rates = parseRates(lines, file);
    cal.dataRate = toolkit::keyValue(lines[2].text)->value;
    cal.oversampling = toolkit::keyValue(lines[3].text)->value;
    bool properties = false;
    for (const toolkit::TextLine& line : std::span(lines).subspan(4)) {
        if (line.text.empty()) {
            continue;
        }
        if (line.text.front() == '[') {
            if (properties || line.text.back() != ']' || line.text.size() < 3) {
                toolkit::damaged(file, line.number, "unexpected section " + toolkit::shown(line.text));
            }
            const std::string_view section = line.text.substr(1, line.text.size() - 2);
            properties = section == "Properties";
            if (!properties && cal.pins.size() == limits::mostPins) {
                toolkit::damaged(file, line.number, "more pins than the unit has");
            }
            if (!properties) {
                cal.pins.emplace_back();
                cal.pins.back().name = section;
            }
            continue;
        }
        const auto entry = toolkit::keyValue(line.text);
        if (!entry || (cal.pins.empty() && !properties)) {
            toolkit::damaged(file, line.number, "expected a section or KEY=VALUE, found " + toolkit::shown(line.text));
        }
        if (properties) {
            takeProperty(cal, *entry, file, line.number);
        } else {
            takePinLine(cal.pins.back(), *entry, file, line.number);
        }
    }
    if (!properties || cal.pins.empty() || !cal.pins.back().plateau) {
        toolkit::damaged(file, lines.size(), "the file is cut off; take it from the receiver's folder again");
    }
    removeUnmeasured(cal);
    removeUncompared(cal);
    removeUnset(cal);
    return cal;
}

CalFile readCalFile(const std::filesystem::path& file) {
    return parseCalFile(toolkit::readText(file, 0, largestCalFile), file.string());
}

} // namespace diagnosis
