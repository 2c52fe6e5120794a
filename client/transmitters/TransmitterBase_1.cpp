#include "client/transmitters/TransmitterBase_1.h"

#include "common/source/Exception.h"
#include "common/source/source_utilities/uLog.h"
#include "common/source/source_utilities/uString.h"

#include <new>

namespace VX_QRS::ORV::CLIENT {

TransmitterBase_1::TransmitterBase_1(FrontEnd* front, std::uint32_t channel) : frontEnd(front), xmtrChannel(channel) {
    if (frontEnd == nullptr)
        fail(transmitterUnit, eNULL);
    channelNumber = frontEnd->numChannels();
    parser = createPropertyParser();
}

TransmitterBase_1::~TransmitterBase_1() {
    destroyPropertyParser(parser);
}

void TransmitterBase_1::setProperty(const char* name, const char* value) {
    if (name == nullptr || value == nullptr)
        fail(transmitterUnit, eNULL, "property name or storage");
    const std::string key = name;
    if (key == "drmXmtr") {
        drmXmtr = value;
    } else if (key == "xmtrType") {
        xmtrType = value;
    } else if (key == "numPins") {
        numPins = value;
    } else if (key == "xmtrMode") {
        xmtrMode = value;
    } else if (key == "pins") {
        pins.clear();
        std::vector<std::string> items;
        uString::split(items, value, ",");
        for (const std::string& item : items)
            pins.push_back(uString::toNumber<std::uint32_t>(item));
    } else {
        fail(transmitterUnit, eNAME, key);
    }
    dirty = true;
}

void TransmitterBase_1::getProperty(const char* name, const char** value) {
    if (name == nullptr || value == nullptr)
        fail(transmitterUnit, eNULL, "property name or storage");
    const std::string key = name;
    if (key == "drmXmtr")
        *value = drmXmtr.c_str();
    else if (key == "xmtrType")
        *value = xmtrType.c_str();
    else if (key == "numPins")
        *value = numPins.c_str();
    else
        fail(transmitterUnit, eNAME, key);
}

void TransmitterBase_1::applySettings() {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterBase_1::applySettings");
    // The global section twice: the channel's own section reaches a transmitter through the channel, which applies it
    // to both, and existing property files rely on nothing else being read here.
    parser->setSection("Global");
    parser->apply(this);
    parser->apply(this);
    if (drmXmtr.empty())
        drmXmtr = "pti";
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
    if (pattern == nullptr)
        fail(transmitterUnit, eSEQUENCE, "no pattern programmed");
    return pattern.get();
}

void TransmitterBase_1::updatePattern() {
    pattern.reset();
    if (progName == "none") // trace: there is nothing to compare with
        return;
    const bool framed = progName == "f0" && drmXmtr == "trace";
    pattern.reset(createPattern(framed ? "ff0" : progName.c_str(), numDataPins()));
}

std::uint32_t TransmitterBase_1::numDataPins() const {
    return pins.empty() ? 0 : static_cast<std::uint32_t>(pins.size() - 1);
}

} // namespace VX_QRS::ORV::CLIENT
