#include "client/transmitters/TransmitterBase_1.h"

#include "common/source/Exception.h"
#include "common/source/source_utilities/uLog.h"
#include "common/source/source_utilities/uString.h"

#include <string_view>

namespace VX_QRS::ORV::CLIENT {

namespace {

constexpr const char* defaultExport = exportPti;

FrontEnd* needed(FrontEnd* frontEnd) {
    if (frontEnd == nullptr) {
        fail(transmitterUnit, eNULL);
    }
    return frontEnd;
}

void readPins(std::vector<std::uint32_t>& pins, const char* list) {
    pins.clear();
    std::vector<std::string> items;
    uString::split(items, list, ",");
    try {
        for (const std::string& item : items) {
            pins.push_back(uString::toNumber<std::uint32_t>(item));
        }
    } catch (const uString::error& e) {
        fail(transmitterUnit, eVALUE, e.what());
    }
}

} // namespace

TransmitterBase_1::TransmitterBase_1(FrontEnd* unit, std::uint32_t channel)
    : frontEnd(needed(unit)), xmtrChannel(channel), channelNumber(unit->numChannels()), parser(createPropertyParser()) {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterBase_1::TransmitterBase_1");
}

TransmitterBase_1::~TransmitterBase_1() {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterBase_1::~TransmitterBase_1");
    destroyPropertyParser(parser);
}

void TransmitterBase_1::setProperty(const char* name, const char* value) {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterBase_1::setProperty");
    if (name == nullptr || value == nullptr) {
        fail(transmitterUnit, eNULL, "property name or storage");
    }
    const std::string_view key(name);
    if (key == "drmXmtr") {
        drmXmtr = value;
    } else if (key == "pins") {
        readPins(pins, value);
    } else if (key == "xmtrType") {
        xmtrType = value;
    } else if (key == "numPins") {
        numPins = value;
    } else if (key == "xmtrMode") {
        xmtrMode = value;
    } else {
        fail(transmitterUnit, eNAME, name);
    }
    dirty = true;
}

void TransmitterBase_1::getProperty(const char* name, const char** value) {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterBase_1::getProperty");
    if (name == nullptr || value == nullptr) {
        fail(transmitterUnit, eNULL, "property name or storage");
    }
    const std::string_view key(name);
    if (key == "drmXmtr") {
        *value = drmXmtr.c_str();
    } else if (key == "xmtrType") {
        *value = xmtrType.c_str();
    } else if (key == "numPins") {
        *value = numPins.c_str();
    } else {
        fail(transmitterUnit, eNAME, name);
    }
}

void TransmitterBase_1::applySettings() {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterBase_1::applySettings");
    parser->setSection("Global");
    parser->apply(this);
    // A channel applies its own section to its transmitter together with its settings.
    // The Global section is set twice; nothing that it sets depends on how often.
    parser->apply(this);
    if (drmXmtr.empty()) {
        drmXmtr = defaultExport;
    }
}

void TransmitterBase_1::program(const char*, std::uint32_t) {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterBase_1::program");
}

void TransmitterBase_1::end(bool) {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterBase_1::end");
}

void TransmitterBase_1::flush() {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterBase_1::flush");
}

void TransmitterBase_1::shutdown() {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterBase_1::shutdown");
}

void TransmitterBase_1::reset() {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterBase_1::reset");
}

std::uint32_t TransmitterBase_1::numFrequencySettings() {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterBase_1::numFrequencySettings");
    return 1;
}

bool TransmitterBase_1::hasTriggered() {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterBase_1::hasTriggered");
    return false;
}

Pattern* TransmitterBase_1::getPattern() {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterBase_1::getPattern");
    if (pattern == nullptr) {
        fail(transmitterUnit, eSEQUENCE, "no pattern programmed");
    }
    return pattern.get();
}

void TransmitterBase_1::updatePattern() {
    pattern.reset();
    if (progName == patternNone) {
        return;
    }
    const bool tracePattern = progName == patternF0 && drmXmtr == exportTrace;
    pattern.reset(createPattern(tracePattern ? patternFF0 : progName.c_str(), numDataPins()));
}

std::uint32_t TransmitterBase_1::numDataPins() const {
    return pins.empty() ? 0 : static_cast<std::uint32_t>(pins.size() - 1);
}

} // namespace VX_QRS::ORV::CLIENT
