#include "host/pins/PinWarnings.h"

#include "rcvr/framework/IPartIdentifier.h"
#include "toolkit/Text.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <limits>

namespace host {

namespace {

using Vx::Qrs::Trace::IDeviceEntry;
using Vx::Qrs::Trace::IPart;
using Vx::Qrs::Trace::IPartIdentifier;
using Vx::Qrs::Trace::IPartProperty;
using Vx::Qrs::Trace::OrvRcvr::AssignmentField;
using Vx::Qrs::Trace::OrvRcvr::PinList;

constexpr const char* pinoutGroup = "program.pinouts";

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// The whole text, in one of the notations that the receiver reads: decimal, "0x" hexadecimal, octal after a 0.
bool isNumber(const std::string& text) {
    char* end = nullptr;
    const bool fits = std::strtoull(text.c_str(), &end, 0) <= std::numeric_limits<std::uint32_t>::max();
    return fits && *end == '\0' && !text.empty() && std::isdigit(static_cast<unsigned char>(text.front())) != 0;
}

void checkNumbers(const std::string& where, const std::vector<std::string>& numbers, const PinList& pins,
                  std::vector<std::string>& warnings) {
    for (std::size_t i = 0; i < numbers.size() && i < pins.size(); ++i) {
        const std::string number(trimmed(numbers[i]));
        if (!isNumber(number)) {
            warnings.push_back(where + ": \"" + number + "\" is no pin number; the receiver reads it as " +
                               std::to_string(pins[i]));
        }
    }
}

void checkTwice(const std::string& where, const PinList& pins, std::vector<std::string>& warnings) {
    for (auto pin = pins.begin(); pin != pins.end(); ++pin) {
        if (std::count(pins.begin(), pin, *pin) != 1) {
            continue;
        }
        warnings.push_back(where + ": pin " + std::to_string(*pin) +
                           (*pin == pins.front() ? " is the clock and a data pin too" : " carries two data bits") +
                           "; the receiver grants that all the same");
    }
}

} // namespace

std::vector<PinoutText> pinoutTextsOfDevice(const LoadedLibrary& library, const std::string& device) {
    IPartIdentifier* database = library.symbol<CreatePartIdentifierFunction>("CreatePartIdentifier")();
    std::vector<PinoutText> texts;
    if (database == nullptr) {
        return texts;
    }
    database->getDeviceText(device.c_str(), IPartIdentifier::eDeviceName);
    for (IDeviceEntry* entry : database->getDeviceEntries(device.c_str())) {
        IPart* part = entry != nullptr ? entry->getTracePart() : nullptr;
        if (part == nullptr) {
            continue;
        }
        for (IPartProperty* property : part->getProperties(pinoutGroup)) {
            texts.push_back({property->getName(), property->getValue()});
        }
        if (!texts.empty()) {
            break; // the first entry with pins counts
        }
    }
    library.symbol<DestroyPartIdentifierFunction>("DestroyPartIdentifier")(database, 0);
    return texts;
}

std::vector<std::string> pinWarnings(const std::vector<PinoutText>& texts, const std::string& kind) {
    std::vector<std::string> warnings;
    for (const PinoutText& text : texts) {
        for (const AssignmentField& field : Vx::Qrs::Trace::OrvRcvr::splitAssignment(text.value)) {
            if (!kind.empty() && field.kind != kind) {
                continue;
            }
            const std::string list(trimmed(field.list));
            const PinList pins = Vx::Qrs::Trace::OrvRcvr::parsePinList(list);
            const std::string where = "pin-out " + text.pinout + ", " + field.kind + "=" + list;
            checkNumbers(where, toolkit::split(list, ','), pins, warnings);
            checkTwice(where, pins, warnings);
        }
    }
    return warnings;
}

} // namespace host
