#include "toolkit/LaneNames.h"

#include "toolkit/ExitCode.h"
#include "toolkit/Format.h"
#include "toolkit/Text.h"

#include <algorithm>

namespace toolkit {

namespace {

constexpr const char* clockKey = "CLK";
constexpr unsigned mostBits = 7;
constexpr unsigned mostEmuPins = 6;
constexpr std::size_t longestName = 24;

[[noreturn]] void refuse(const std::string& text) {
    throw Failure(ExitCode::Usage, text);
}

char upper(char letter) {
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

/// The pin's key in upper case; empty for what is no pin.
std::string keyOf(std::string_view pin) {
    std::string key(trimmed(pin));
    std::transform(key.begin(), key.end(), key.begin(), upper);
    const auto isNumbered = [&](std::string_view prefix, unsigned count) {
        const auto number = key.starts_with(prefix) ? numberOf<unsigned>(std::string_view(key).substr(prefix.size()))
                                                    : std::optional<unsigned>();
        return number && *number < count && key == std::string(prefix) + std::to_string(*number);
    };
    const bool known = key == clockKey || isNumbered("D", mostBits) || isNumbered("EMU", mostEmuPins);
    return known ? key : std::string();
}

/// Value change dumps, lists of comma-separated values and options must hold the name as it is.
bool isUsable(std::string_view name) {
    return !name.empty() && name.size() <= longestName && std::all_of(name.begin(), name.end(), [](char letter) {
        return letter > ' ' && letter < 0x7F && letter != ',' && letter != '"' && letter != '=' && letter != '$';
    });
}

} // namespace

std::optional<unsigned> bitOf(const LanePlace& place) {
    if (place.proc == 0 || place.proc > place.dataPins) {
        return std::nullopt;
    }
    return static_cast<unsigned>(place.dataPins - place.proc);
}

std::string laneLabel(const LanePlace& place) {
    if (place.proc == 0) {
        return clockKey;
    }
    const auto bit = bitOf(place);
    return bit ? "D" + std::to_string(*bit) : "proc " + std::to_string(place.proc);
}

LaneNames LaneNames::parse(std::string_view list) {
    LaneNames names;
    const std::vector<std::string_view> items = splitAt(list, ',');
    const bool byPin = list.find('=') != std::string_view::npos;
    for (std::size_t i = 0; i < items.size(); ++i) {
        const std::string_view item = trimmed(items[i]);
        if (!byPin) {
            names.give(laneLabel({i, items.size() - 1, {}}), item);
            continue;
        }
        const auto pair = keyValue(item);
        if (!pair) {
            refuse("names: " + shown(item) + " names no pin; give all by pin, such as CLK=TRACECLK, or none");
        }
        names.give(pair->key, trimmed(pair->value));
    }
    if (!byPin) {
        names.listed = items.size() - 1;
    }
    return names;
}

void LaneNames::give(std::string_view pin, std::string_view name) {
    const std::string key = keyOf(pin);
    if (key.empty()) {
        refuse("names: there is no pin " + shown(pin) + "; there are CLK, D0 to D6, and EMU0 to EMU5");
    }
    if (!isUsable(name)) {
        refuse("names: " + shown(name) + " cannot be the name of " + key + "; give up to " +
               std::to_string(longestName) + " letters, digits and marks without blanks and commas");
    }
    for (const auto& [otherKey, otherName] : names) {
        if (otherKey != key && otherName == name) {
            refuse("names: " + otherKey + " and " + key + " have the same name, " + shown(name));
        }
    }
    names[key] = std::string(name);
}

std::string LaneNames::label(const LanePlace& place) const {
    const std::string usual = laneLabel(place);
    for (const std::string& key : {usual, "EMU" + (place.emu ? std::to_string(*place.emu) : std::string())}) {
        if (const auto found = names.find(key); found != names.end()) {
            return found->second;
        }
    }
    return usual;
}

std::string LaneNames::title(const LanePlace& place) const {
    const std::string name = label(place);
    const std::string usual = laneLabel(place);
    std::string rest = name == usual ? std::string() : usual;
    if (place.emu) {
        rest += (rest.empty() ? "EMU" : ", EMU") + std::to_string(*place.emu);
    }
    return rest.empty() ? name : name + " (" + rest + ")";
}

bool LaneNames::begins(std::string_view sentence) const {
    return std::any_of(names.begin(), names.end(),
                       [&](const auto& entry) { return sentence.starts_with(entry.second); });
}

std::string setupHoldText(const std::optional<double>& setup, const std::optional<double>& hold, int decimals) {
    const auto text = [&](const std::optional<double>& value) {
        return value ? fixedText(*value, decimals) : std::string("-");
    };
    return setup || hold ? text(setup) + " / " + text(hold) : "-";
}

} // namespace toolkit
