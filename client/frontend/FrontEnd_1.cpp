#include "client/frontend/FrontEnd_1.h"

#include "client/FrontEndChannel.h"
#include "client/Transmitter.h"
#include "client/frontend/ChannelLog.h"
#include "client/frontend/FrontEndChannel_1.h"
#include "client/frontend/Registers.h"
#include "common/source/Exception.h"
#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uLog.h"
#include "common/source/source_utilities/uString.h"
#include "mpx/MpxEcomServer/DataClient.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <new>

namespace VX_QRS::ORV::CLIENT {

namespace {

/// Where the data server is reached first.
constexpr std::uint32_t dataServerPort = 55760;

// One per process. Receivers are made and freed on one thread of the framework, so there is no lock.
FrontEnd_1* singleton = nullptr;
std::uint32_t useCount = 0;

std::unique_ptr<uDll> makeLibrary() {
    try {
        return std::make_unique<uDll>();
    } catch (const std::bad_alloc&) {
        fail(frontEndUnit, eNULL);
    }
}

} // namespace

FrontEnd* createFrontEnd() {
    logEntry(frontEndUnit, "VX_QRS::ORV::CLIENT::createFrontEnd");
    if (singleton == nullptr) {
        try {
            singleton = new FrontEnd_1;
        } catch (const std::bad_alloc&) {
            fail(frontEndUnit, eALLOC);
        }
    }
    ++useCount;
    return singleton;
}

void destroyFrontEnd(FrontEnd* frontEnd) {
    logEntry(frontEndUnit, "VX_QRS::ORV::CLIENT::destroyFrontEnd");
    if (useCount == 0) {
        return;
    }
    if (frontEnd != singleton) {
        fail(frontEndUnit, eFAIL, "invalid frontEnd");
    }
    if (--useCount == 0) {
        delete singleton;
        singleton = nullptr;
    }
}

FrontEnd_1::FrontEnd_1(DataClientFactory factory, Waits& waits)
    : clientFactory(factory), library(makeLibrary()), waiting(waits) {
    logEntry(frontEndUnit, "VX_QRS::ORV::CLIENT::FrontEnd_1::FrontEnd_1");
    parser = createPropertyParser();
    dataClient = clientFactory.create(dataServerPort);
    if (dataClient == nullptr) {
        destroyPropertyParser(parser);
        fail(frontEndUnit, eDATASERVER, "failed to connect to data server");
    }
}

FrontEnd_1::~FrontEnd_1() {
    logEntry(frontEndUnit, "VX_QRS::ORV::CLIENT::FrontEnd_1::~FrontEnd_1");
    for (FrontEndChannel* channel : channels) {
        delete channel;
    }
    channels.clear();
    try {
        dataClient->disconnect();
    } catch (const std::exception& e) {
        // A server that is gone has nothing to disconnect; the rest has to be freed all the same.
        logStepError(here(), "failed to disconnect from orv : %s", e.what());
    } catch (...) {
        logStepError(here(), "failed to disconnect from orv : %s", "unknown exception");
    }
    clientFactory.destroy(dataClient);
    destroyPropertyParser(parser);
}

void FrontEnd_1::setProperty(const char* name, const char* value) {
    if (name == nullptr || value == nullptr) {
        fail(frontEndUnit, eNULL, "property name or value");
    }
    if (std::strcmp(name, "orv") == 0) {
        url = value;
    } else if (std::strcmp(name, "propsFile") == 0) {
        parser->readFile(value);
        maxChnls = parser->countSections("Channel");
    }
}

void FrontEnd_1::getProperty(const char* name, const char** value) {
    if (name == nullptr || value == nullptr) {
        fail(frontEndUnit, eNULL, "property name or value");
    }
    if (std::strcmp(name, "maxChnls") == 0) {
        *value = uString::toText(maxChnls, propertyText);
        return;
    }
    if (std::strcmp(name, "orv") == 0) {
        *value = url.c_str();
        return;
    }
    lookUp(name, value);
}

/// A name of the form "3:filters" reads a key of a channel's section in the file.
void FrontEnd_1::lookUp(const char* name, const char** value) {
    std::string channel;
    std::string key;
    constexpr int bothParts = 2;
    if (uString::splitOnce(name, ":", channel, key) != bothParts) {
        fail(frontEndUnit, eNAME, name);
    }
    if (parser->getFileName() == nullptr) {
        fail(frontEndUnit, eSEQUENCE, "propsFile not set");
    }
    if (channel.empty()) {
        parser->setSection("Global");
        parser->apply(this);
        return;
    }
    parser->setSection(("Channel " + channel).c_str());
    parser->getValue(key.c_str(), value);
}

FrontEndChannel* FrontEnd_1::alloc(const char* cpuName, Vx::Qrs::Trace::IXmtrLibrary* xmtrLibrary,
                                   std::uint32_t xmtrChannel, std::uint32_t xmtrCookie, std::uint32_t adapterKind,
                                   const ChannelSettings* traceSetup) {
    logEntry(frontEndUnit, "VX_QRS::ORV::CLIENT::FrontEnd_1::alloc");
    try {
        channels.reserve(channels.size() + 1);
    } catch (const std::bad_alloc&) {
        fail(frontEndUnit, eALLOC);
    }
    Transmitter* transmitter =
        createTransmitter(this, cpuName, xmtrLibrary, xmtrChannel, xmtrCookie, adapterKind, traceSetup);
    FrontEndChannel_1* channel = nullptr;
    try {
        channel = new FrontEndChannel_1(this, transmitter, traceSetup);
    } catch (const std::exception&) {
        destroyTransmitter(transmitter, traceSetup);
        fail(frontEndUnit, eALLOC);
    }
    channels.push_back(channel);
    return channel;
}

void FrontEnd_1::release(FrontEndChannel* channel) {
    logEntry(frontEndUnit, "VX_QRS::ORV::CLIENT::FrontEnd_1::release");
    if (channel == nullptr) {
        return;
    }
    const auto found = std::find(channels.begin(), channels.end(), channel);
    if (found == channels.end()) {
        fail(frontEndUnit, eFAIL, "failed to release unknown channel");
    }
    delete channel;
    channels.erase(found);
}

std::uint32_t FrontEnd_1::numChannels() {
    return static_cast<std::uint32_t>(channels.size());
}

FrontEndChannel* FrontEnd_1::getChannel(std::uint32_t index) {
    if (index >= channels.size()) {
        fail(frontEndUnit, eFAIL, "invalid channel number");
    }
    return channels[index];
}

DataClient* FrontEnd_1::getDataClient() {
    return dataClient;
}

void FrontEnd_1::applySettings() {
    logEntry(frontEndUnit, "VX_QRS::ORV::CLIENT::FrontEnd_1::applySettings");
    parser->setSection("Global");
    parser->apply(this);
    logStep(here(), "connecting to orv url %s", url.c_str());
    // The data server's start has used it by now; the line helps the reader of the log.
    const char* helix = uEnvironment::get("COMMON_HELIX");
    if (*helix != '\0') {
        logStep(here(), "COMMON_HELIX is \"%s\"", helix);
    }
    try {
        dataClient->connect(url.c_str());
    } catch (const DataClient::Exception& e) {
        fail(frontEndUnit, eDATASERVER, e.what());
    } catch (...) {
        fail(frontEndUnit, eDATASERVER, "failed to connect to orv");
    }
    readPll();
}

void FrontEnd_1::readPll() {
    using namespace registers;
    RegisterAccess list[] = {
        {kindUnit, referenceClockHigh, 0},
        {kindUnit, referenceClockLow, 0},
        {kindUnit, clockRatio, 0},
    };
    dataClient->read(list, static_cast<std::uint32_t>(std::size(list)));
    pllSettings.refFrequency = static_cast<double>(list[0].value << 16 | list[1].value);
    pllSettings.multiplier = static_cast<double>(list[2].value >> 8 & 0xFF);
    pllSettings.divider = static_cast<double>(list[2].value & 0xFF);
}

} // namespace VX_QRS::ORV::CLIENT
