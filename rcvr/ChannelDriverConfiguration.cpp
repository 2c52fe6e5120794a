#include "common/source/source_utilities/OutputFile.h"
#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uString.h"
#include "pinmap/PinAssignment.h"
#include "pinmap/SiblingCall.h"
#include "pinmap/TracePinMapper.h"
#include "rcvr/ChannelDriver.h"
#include "rcvr/Guard.h"
#include "rcvr/PropertiesText.h"
#include "rcvr/Receiver.h"
#include "rcvr/SettingsFile.h"

#include <algorithm>
#include <stdexcept>

// From a settings file to a calibrated channel.

namespace Vx::Qrs::Trace::OrvRcvr {

using VX_QRS::logEntry;
using VX_QRS::logMessage;
using VX_QRS::OutputFile;
using VX_QRS::uEnvironment;
using VX_QRS::uString;
using VX_QRS::ORV::CLIENT::AddedProperty;

namespace {

[[noreturn]] void logAndFail(const std::string& text,
                             const VX_QRS::SourceLocation& location = VX_QRS::SourceLocation::current()) {
    VX_QRS::logError("%s : %s", programLabel, text.c_str());
    throwError(channelDriverUnit, eFailed, text, location);
}

void requireFile(bool succeeded) {
    if (!succeeded) {
        throwError(channelDriverUnit, eBadFile);
    }
}

const char* kindForClass(unsigned traceClass) {
    switch (traceClass) {
    case 0:
        return "dsp";
    case 1:
        return "pti";
    default:
        return "tpiu";
    }
}

const PinList& allEmulationPins() {
    static const PinList pins{0, 1, 2, 3, 4, 5};
    return pins;
}

/// The user's additions to the channel's section.
std::vector<AddedProperty> addedProperties() {
    const std::string path = uEnvironment::get(VX_QRS::ORV::CLIENT::addedPropertiesVariable);
    if (path.empty()) {
        return {};
    }
    try {
        return VX_QRS::ORV::CLIENT::readAddedProperties(path);
    } catch (const std::runtime_error& fault) {
        throwError(channelDriverUnit, eBadFile, fault.what());
    }
}

std::string deviceText(Receiver& receiver, const std::string& cpuName, unsigned selector) {
    const char* text =
        callSibling([&] { return receiver.GetPartIdentifier()->getDeviceText(cpuName.c_str(), selector); });
    return text != nullptr ? text : "";
}

} // namespace

void ChannelDriver::SetConfiguration(const char* path) {
    logEntry(channelDriverUnit, "Vx::Qrs::Trace::OrvRcvr::ChannelDriver::SetConfiguration");
    if (path == nullptr) {
        throwError(channelDriverUnit, eNullParameter);
    }
    guarded("SetConfiguration", lock.get(), [&] {
        refuseTooManyChannels();
        std::string dataDirectory;
        uEnvironment::getTraceDataDirectory(dataDirectory);
        const std::string propsPath = propertiesPathFor(path, dataDirectory);
        ConvertXmlToFrontEndPropsFile(path, propsPath.c_str());
        // Only the "pti" export can be set up on a running CPU.
        if (settings.transmitter != "pti" && !AreAllCpusHalted()) {
            throwError(channelDriverUnit, eFailed, "the cpu must be halted first");
        }
        channel->setProperty("propsFile", propsPath.c_str());
        logStep("SetConfiguration", "calling applySettings");
        channel->applySettings();
        dataFilePath = propertyText(*channel, "file") + ".bin";
        logStep("SetConfiguration", "calling calibrate");
        channel->calibrate();
        orvBufSizeBytes = uString::toNumber<std::uint32_t>(propertyText(*channel, "orvBufSize"));
    });
    logStep("SetConfiguration", "success");
}

void ChannelDriver::refuseTooManyChannels() {
    const auto limit = uString::toNumber<std::uint32_t>(propertyText(*frontEnd, "maxChnls"));
    if (frontEnd->numChannels() > limit) {
        throwError(channelDriverUnit, eFailed,
                   "only " + std::to_string(limit) + " channel(s) may be active at one time");
    }
}

void ChannelDriver::ConvertXmlToFrontEndPropsFile(const char* xmlPath, const char* propsPath) {
    logEntry(channelDriverUnit, "Vx::Qrs::Trace::OrvRcvr::ChannelDriver::ConvertXmlToFrontEndPropsFile");
    // First of all: a bad file must not even replace a bad settings file.
    const std::vector<AddedProperty> added = addedProperties();
    ChannelSettings local;
    const std::string section = prepareChannelSection(xmlPath, local, added);
    writePropertiesFile(propsPath, section);
    settings = local;
    logStep("ConvertXmlToFrontEndPropsFile", "success");
}

std::uint32_t ChannelDriver::channelIndex() {
    // The driver that is being configured counts as the last one.
    return std::max(frontEnd->numChannels(), std::uint32_t{1}) - 1;
}

std::string ChannelDriver::prepareChannelSection(const char* xmlPath, ChannelSettings& local,
                                                 const std::vector<AddedProperty>& added) {
    if (xmtrLibrary == nullptr) {
        throwError(channelDriverUnit, eNullParameter);
    }
    unsigned traceClass = 0;
    xmtrLibrary->getTransmitterKind(xmtrCookie, &traceClass);
    const std::uint32_t index = channelIndex();
    LoadSettings(local, xmlPath, cpuName.c_str());

    logMessage("%s : starting a search of the device database for a pin map with at least %d data pins for %s",
               programLabel, static_cast<int>(local.numPins), cpuName.c_str());
    TracePinMapper mapper;
    mapper.readDeviceDatabase(cpuName.c_str());
    logMessage("%s : device database read successful", programLabel);
    if (local.pinMap.empty()) {
        findPins(mapper, traceClass, local);
    } else {
        checkPins(mapper, local);
    }
    for (const AddedProperty& property : added) {
        logMessage("%s : property %s=%s added", programLabel, property.name.c_str(), property.value.c_str());
    }
    return channelSectionText(index, local, added);
}

void ChannelDriver::findPins(TracePinMapper& mapper, unsigned traceClass, ChannelSettings& local) {
    logMessage("%s : no pin map specified", programLabel);
    if (local.numPins == 0) {
        logAndFail("no pin map or pin count was specified in the channel settings file for " + shortCpuName + ".");
    }
    if (local.transmitter.empty()) {
        local.transmitter = kindForClass(traceClass);
    }

    const PinRequests requests{
        {cpuName, PinRequest{.kind = local.transmitter, .dataPins = local.numPins, .exact = true}}};
    PinGrants grants;
    std::string pinoutName;
    if (!mapper.findPinMapWithin(grants, pinoutName, requests, {}, allEmulationPins())) {
        logAndFail("failed to find a pin map with at least " + std::to_string(local.numPins) + " data pins for " +
                   shortCpuName + ".");
    }
    local.pinMap = formatPinList(grants[cpuName].pins);
    logMessage("%s : from program %s granted emu pins %s for %s trace on %s", programLabel, pinoutName.c_str(),
               local.pinMap.c_str(), local.transmitter.c_str(), shortCpuName.c_str());
}

// The search only checks the map; the user's text stays.
void ChannelDriver::checkPins(TracePinMapper& mapper, const ChannelSettings& local) {
    logMessage("%s :  pin map specified as %s", programLabel, local.pinMap.c_str());
    const PinList mapPins = parsePinList(local.pinMap);
    PinList excluded = allEmulationPins();
    for (const std::uint32_t pin : mapPins) {
        const auto place = std::find(excluded.begin(), excluded.end(), pin);
        if (place != excluded.end()) {
            excluded.erase(place);
        }
    }
    const auto dataPins = static_cast<std::uint32_t>(mapPins.size() - 1);
    const PinRequests requests{{cpuName, PinRequest{.kind = local.transmitter, .dataPins = dataPins, .exact = true}}};
    PinGrants grants;
    std::string pinoutName;
    if (!mapper.findPinMapWithin(grants, pinoutName, requests, excluded, allEmulationPins())) {
        logAndFail("the pin map specified in the receiver settings is not valid for this device : " + local.pinMap +
                   ".");
    }
}

void ChannelDriver::writePropertiesFile(const char* propsPath, const std::string& channelSection) {
    const bool first = channelIndex() == 0;
    OutputFile file(propsPath != nullptr ? propsPath : "",
                    first ? OutputFile::Mode::text : OutputFile::Mode::appendedText);
    requireFile(file.isOpen());
    if (first) {
        const std::string unitName = deviceText(*receiver, cpuName, IPartIdentifier::eUnitName);
        if (unitName.empty()) {
            throwError(channelDriverUnit, eFailed, "failed to lookup orv name for" + cpuName);
        }
        std::string portText = deviceText(*receiver, cpuName, IPartIdentifier::eUnitPort);
        uString::replace(portText, "\"", "");
        const auto port = uString::toNumber<std::uint32_t>(portText);
        if (portText.empty()) {
            throwError(channelDriverUnit, eFailed, "failed to lookup orv port for" + cpuName);
        }
        requireFile(file.write(globalSectionText(unitName, port)));
    }
    requireFile(file.write(channelSection));
    requireFile(file.close());
}

} // namespace Vx::Qrs::Trace::OrvRcvr
