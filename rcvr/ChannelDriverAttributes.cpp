#include "common/source/source_utilities/uString.h"
#include "pinmap/SiblingCall.h"
#include "rcvr/ChannelDriver.h"
#include "rcvr/Guard.h"
#include "rcvr/ListText.h"
#include "rcvr/Receiver.h"

#include <string_view>

// The framework's named questions. Trailing blanks belong to the names.

namespace Vx::Qrs::Trace::OrvRcvr {

using VX_QRS::logEntry;
using VX_QRS::uString;
using VX_QRS::ORV::CLIENT::ChannelMetrics;

namespace {

struct FrequencyRow {
    std::string_view name;
    double ChannelMetrics::* field;
};

constexpr FrequencyRow frequencyRows[] = {
    {"Device Clock Frequency", &ChannelMetrics::exportFrequency},
    {"Timing Clock Frequency", &ChannelMetrics::wordClockFrequency},
    {"Trace Clock Frequency", &ChannelMetrics::wordClockFrequency},
    {"Trace Data Frequency", &ChannelMetrics::dataFrequency},
};

struct ListRow {
    std::string_view prefix;
    const char* property;
    std::uint32_t entryType;
};

constexpr ListRow listRows[] = {
    {"Trace Pin-out Select List ", "pinMaps", TraceAttribute::eListText},
    {"Trace EBM Size Select List ", "orvBufSizes", TraceAttribute::eListText},
    {"Trace Clock Select List ", "frequencies", TraceAttribute::eNumberText},
};

} // namespace

void ChannelDriver::GetAttribute(const char* name, TraceAttribute* out) {
    lookUpAttribute(name, out, attributeText);
}

std::string ChannelDriver::CopyOfAttribute(const char* name) {
    TraceAttribute attribute;
    std::string text;
    lookUpAttribute(name, &attribute, text);
    return text;
}

void ChannelDriver::lookUpAttribute(const char* name, TraceAttribute* out, std::string& text) {
    logEntry(channelDriverUnit, "Vx::Qrs::Trace::OrvRcvr::ChannelDriver::GetAttribute");
    guarded(
        "GetAttribute", lock.get(),
        [&] {
            if (name == nullptr) {
                throwError(channelDriverUnit, eNullParameter, "invalid attribute name");
            }
            if (out == nullptr) {
                throwError(channelDriverUnit, eNullParameter);
            }
            ChannelMetrics metrics;
            channel->status(metrics);
            out->type = TraceAttribute::eNumberText;
            answerAttribute(name, metrics, out->type, text);
            out->name = name;
            out->value = text.c_str();
        },
        logStandardAsWarning);
}

void ChannelDriver::answerAttribute(const std::string& name, const ChannelMetrics& metrics, std::uint32_t& type,
                                    std::string& text) {
    const auto answerBoolean = [&](bool value) {
        type = TraceAttribute::eBoolean;
        text.assign(1, value ? '1' : '0');
    };
    if (name == "Trace Data Pin Size ") {
        const char* pins = nullptr;
        channel->getProperty("numPins", &pins);
        if (pins != nullptr) {
            type = TraceAttribute::eInteger;
            text = pins;
        }
        return;
    }
    if (answerFrequency(name, metrics, text)) {
        return;
    }
    if (name == "Buffer Wrapped") {
        answerBoolean(propertyText(*channel, "orvBufHasWrapped") == "true");
        return;
    }
    if (answerList(name, type, text)) {
        return;
    }
    if (name == "TWP Source") {
        const std::string kind = propertyText(*channel, "drmXmtr");
        answerBoolean(kind == "tpiu" || kind == "tpiulite");
        VX_QRS::logMessage("%s : %s drmXmtr=%s", programLabel, "GetAttribute", kind.c_str());
        return;
    }
    if (name == "ETB Samples") {
        type = TraceAttribute::eInteger;
        text = std::to_string(GetNumSamples());
        return;
    }
    if (name == "ETB Data Flip Needed") {
        constexpr bool notNeeded = false;
        answerBoolean(notNeeded);
        if (propertyText(*channel, "drmXmtr") == "tpiu") {
            answerBoolean(needsEtbDataFlip());
        }
        return;
    }
    text = propertyText(*channel, name.c_str());
}

bool ChannelDriver::answerFrequency(const std::string& name, const ChannelMetrics& metrics, std::string& text) {
    constexpr bool replaced = false; // not appended
    for (const FrequencyRow& row : frequencyRows) {
        if (name == row.name) {
            uString::toText(metrics.*row.field, text, replaced, "%f");
            return true;
        }
    }
    return false;
}

bool ChannelDriver::answerList(const std::string& name, std::uint32_t& type, std::string& text) {
    for (const ListRow& row : listRows) {
        if (!name.starts_with(row.prefix)) {
            continue;
        }
        const std::string list = propertyText(*channel, row.property);
        const std::string index = name.substr(row.prefix.size());
        if (index.empty()) {
            type = TraceAttribute::eInteger;
            text = std::to_string(countListEntries(list));
        } else {
            type = row.entryType;
            text = pickListEntry(list, uString::toNumber<std::uint32_t>(index));
        }
        return true;
    }
    return false;
}

bool ChannelDriver::needsEtbDataFlip() {
    return callSibling([this] {
        for (IDeviceEntry* entry : receiver->GetPartIdentifier()->getDeviceEntries(cpuName.c_str())) {
            if (entry == nullptr || entry->getTracePart() == nullptr) {
                continue;
            }
            IDevice* device = entry->getDevice();
            if (device == nullptr) {
                continue;
            }
            const char* version = device->getCharacteristic("DEV_CHAR_ATB_STP_VERSION");
            if (version != nullptr && std::string_view(version) == "1") {
                return true;
            }
        }
        return false;
    });
}

} // namespace Vx::Qrs::Trace::OrvRcvr
