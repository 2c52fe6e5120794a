#include "client/transmitters/TransmitterZarn_1.h"

#include "common/source/Exception.h"
#include "common/source/source_utilities/uLog.h"

#include <exception>

namespace VX_QRS::ORV::CLIENT {

using Vx::Qrs::Trace::ITargetAdapter;

namespace {

constexpr int noTestMode = -1;
constexpr unsigned testBlock = 5; // the library's number of the pattern generator
constexpr std::uint32_t armKind = 2; // the CPU class that has the trace settings of ChannelSettings
constexpr unsigned defaultFrameSize = 64;
constexpr std::uint32_t statusTriggered = 1u << 30;
constexpr std::uint32_t characterFlushOnTrigger = 1u << 3;

struct Program {
    const char* name;
    int testMode;
    const char* becomes;
};
constexpr Program programs[] = {
    {"a5", 0, "a5"},     {"walk", 1, "walk"}, {"ramp", 2, "ramp0"},     {"verification", 2, "ramp0"},
    {"lfsr", 3, "lfsr"}, {"f0", 4, "f0"},     {"calibration", 4, "f0"}, {"none", noTestMode, "none"},
};

const Program* findProgram(const std::string& name) {
    for (const Program& candidate : programs) {
        if (name == candidate.name)
            return &candidate;
    }
    return nullptr;
}

/// How the library wants the pins of an export kind to be driven.
struct PinModes {
    unsigned clock;
    unsigned data;
};

PinModes pinModes(const std::string& drmXmtr) {
    if (drmXmtr == "pti")
        return {13, 12};
    if (drmXmtr == "tpiu" || drmXmtr == "tpiulite")
        return {18, 19};
    fail(transmitterUnit, eTYPE, drmXmtr);
}

unsigned functionMode(const std::string& drmXmtr, const std::string& xmtrMode) {
    const bool pause = xmtrMode == "pause";
    if (drmXmtr == "tpiu")
        return pause ? 8 : 9;
    return pause ? 1 : 3;
}

/// The export kind behind the library's number; null for one that this receiver cannot trace.
const char* exportKind(unsigned kind) {
    switch (kind) {
    case 1:
        return "pti";
    case 4:
        return "tpiu";
    case 5:
        return "tpiulite";
    default:
        return nullptr;
    }
}

void checkResult(int code, const char* text, const std::source_location& location = std::source_location::current()) {
    if (code < 0 || code > 2)
        fail(transmitterUnit, eXMTR, text, location);
}

template <typename Function>
Function lookUp(uDll& dll, const char* symbol, const char* failure) {
    void* address = dll.GetSymbol(symbol);
    if (address == nullptr)
        fail(transmitterUnit, eXMTR, failure);
    return reinterpret_cast<Function>(address);
}

void load(uDll& dll, const char* name) {
    if (!dll.FindAndLoad(name))
        fail(transmitterUnit, eXMTR, dll.GetLastErrorText());
}

} // namespace

TransmitterZarn_1::TransmitterZarn_1(FrontEnd* front, const char* cpu, Vx::Qrs::Trace::IXmtrLibrary* xmtrLibrary,
                                     std::uint32_t cookie, std::uint32_t channel, std::uint32_t kind,
                                     const ChannelSettings* setup)
    : TransmitterBase_1(front, channel), cpuName(cpu), library(xmtrLibrary), xmtrCookie(cookie), adapterKind(kind),
      traceSetup(setup) {
    if (library == nullptr)
        loadOwnLibrary();
}

void TransmitterZarn_1::loadOwnLibrary() {
    load(xmtrDll, "zarn_xmtr");
    library = lookUp<CreateXmtrFunction>(xmtrDll, "CreateXmtr", "failed to look up CreateXmtr")(0, 0);
    if (library == nullptr)
        fail(transmitterUnit, eXMTR, "failed to create Transmitter");
    load(adapterDll, "HaloTargetAdapter");
    lookUp<NewTargetAdapterFunction>(adapterDll, "NewTargetAdapter",
                                     "failed to look up NewTargetAdapter")(cpuName.c_str(), &targetAdapter);
    if (targetAdapter == nullptr)
        fail(transmitterUnit, eXMTR,
             "failed to create TargetAdapter : check that the debugger is running and connected to the correct tap");
    ownsLibrary = true;
}

TransmitterZarn_1::~TransmitterZarn_1() {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterZarn_1::~TransmitterZarn_1");
    // Nothing can be done about a failure here, and nobody is left who could be told.
    try {
        closeLink();
        if (library != nullptr && ownsLibrary)
            freeOwnLibrary();
    } catch (const std::exception& e) {
        logError("ORV Receiver : failed to free transmitter : %s", e.what());
    }
}

void TransmitterZarn_1::freeOwnLibrary() {
    lookUp<DestroyXmtrFunction>(xmtrDll, "DestroyXmtr", "failed to look up DestroyXmtr")(library);
    library = nullptr;
    xmtrDll.Unload();
    if (targetAdapter == nullptr)
        fail(transmitterUnit, eNULL, "invalid storage for TargetAdapter");
    lookUp<FreeTargetAdapterFunction>(adapterDll, "FreeTargetAdapter",
                                      "failed to look up dll FreeTargetAdapter")(targetAdapter);
    targetAdapter = nullptr;
    adapterDll.Unload();
}

void TransmitterZarn_1::userLeaves() {
    if (traceSetup != nullptr && traceSetup != &keptSetup) {
        keptSetup = *traceSetup;
        traceSetup = &keptSetup;
    }
}

void TransmitterZarn_1::closeLink() {
    if (!linkOpen)
        return;
    linkOpen = false;
    library->closeChannel(xmtrChannel);
}

void TransmitterZarn_1::applySettings() {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterZarn_1::applySettings");
    if (!dirty)
        return;
    closeLink();
    TransmitterBase_1::applySettings();
    unsigned kind = 0;
    if (library == nullptr)
        fail(transmitterUnit, eSEQUENCE, "transmitter handle not set");
    library->getTransmitterKind(xmtrChannel, &kind);
    const char* name = exportKind(kind);
    if (name == nullptr)
        fail(transmitterUnit, eXMTR, "this receiver does not support tracing this device : code " + std::to_string(kind));
    drmXmtr = name;
    open();
    dirty = false;
}

void TransmitterZarn_1::open() {
    if (linkOpen)
        return;
    if (drmXmtr.empty())
        fail(transmitterUnit, eSEQUENCE, "drmXmtr not set");
    if (library == nullptr)
        fail(transmitterUnit, eSEQUENCE, "transmitter handle not set");
    linkOpen = true;
}

void TransmitterZarn_1::program(const char* name, std::uint32_t frequencySetting) {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterZarn_1::program");
    if (pins.empty())
        fail(transmitterUnit, eSEQUENCE, "pins not set");
    if (name != nullptr)
        progName = name;
    logMessage("%s %s progName=%s, frequencySetting=%d", "ORV Receiver", "TransmitterZarn_1::program", progName.c_str(),
               static_cast<int>(frequencySetting));
    const Program* chosen = findProgram(progName);
    if (chosen == nullptr)
        fail(transmitterUnit, eXMTR, "invalid program");
    progName = chosen->becomes;
    updatePattern();
    allocatePins();
    if (drmXmtr != "tpiulite")
        setUpExport(frequencySetting, chosen->testMode);
    if (adapterKind == armKind)
        setUpArm();
    checkResult(library->programChannel(xmtrChannel), "failed programming channel");
    checkResult(library->enablePort(xmtrChannel), "failed enabling port");
    checkResult(library->enablePins(xmtrChannel), "failed enabling pins");
}

/// The pin written first behind the clock carries bit 0.
void TransmitterZarn_1::allocatePins() {
    for (const std::uint32_t pin : pins)
        checkResult(library->releasePin(xmtrChannel, pin, 0), "failed releasing pin");
    const PinModes modes = pinModes(drmXmtr);
    const auto allocate = [this](unsigned mode, std::uint32_t bit, std::uint32_t pin, const char* failure) {
        checkResult(library->allocatePin(xmtrChannel, mode, bit, pin, 0), failure);
        logMessage("%s : transmitter allocated EMU%d to bit%d in mode %d", "ORV Receiver", static_cast<int>(pin),
                   static_cast<int>(bit), static_cast<int>(mode));
    };
    allocate(modes.clock, 0, pins[0], "failed allocating clock pin");
    for (std::uint32_t i = numDataPins(); i >= 1; --i)
        allocate(modes.data, i - 1, pins[i], "failed allocating data pin");
    checkResult(library->setPortWidth(xmtrChannel, numDataPins()), "failed setting port width");
}

void TransmitterZarn_1::setUpExport(std::uint32_t frequencySetting, int testMode) {
    library->setOption(xmtrChannel, 0);
    checkResult(library->setFunctionMode(xmtrChannel, functionMode(drmXmtr, xmtrMode)),
                "failed setting stm function mode");
    if (testMode != noTestMode)
        checkResult(library->setTestMode(xmtrChannel, testBlock, static_cast<unsigned>(testMode)),
                    "failed setting stm test mode");
    checkResult(library->applyFrequency(xmtrChannel, frequencySetting), "failed applying frequency setting");
}

void TransmitterZarn_1::setUpArm() {
    if (traceSetup == nullptr)
        fail(transmitterUnit, eNULL, "trace setup");
    library->setStallCpu(xmtrChannel, traceSetup->stallCpu);
    library->setMonitorCprt(xmtrChannel, traceSetup->monitorCprt);
    library->setNoDataTraceOnFifoFull(xmtrChannel, traceSetup->noDataTraceOnFifoFull);
    library->setCycleAccurate(xmtrChannel, traceSetup->cycleAccurateTrace);
    unsigned value = 0;
    unsigned frameSize = 0;
    library->getExportFrameLimits(xmtrChannel, &value, &frameSize);
    // The setting only chooses between the library's size and a fixed one; its own number is not passed on.
    if (frameSize != 0)
        library->setExportFrameSize(xmtrChannel, traceSetup->exportFrameSize != 0 ? frameSize : defaultFrameSize);
}

void TransmitterZarn_1::end(bool flag) {
    checkResult(library->applyEnd(xmtrChannel, flag), "failed applying end of trace");
}

void TransmitterZarn_1::flush() {
    checkResult(library->flushBuffer(xmtrChannel), "failed flushing buffer");
}

void TransmitterZarn_1::shutdown() {
    checkResult(library->shutdownPort(xmtrChannel), "failed shutting down port");
}

void TransmitterZarn_1::reset() {
    std::uint32_t status = 0;
    checkResult(library->getTraceStatus(xmtrChannel, &status), "failed resetting trace status");
    if (status != 0)
        checkResult(library->clearTraceStatus(xmtrChannel, status), "failed resetting trace status");
}

std::uint32_t TransmitterZarn_1::numFrequencySettings() {
    unsigned count = 0;
    checkResult(library->getNumFrequencySettings(xmtrChannel, &count), "failed getting transmitter character");
    return count;
}

bool TransmitterZarn_1::hasTriggered() {
    std::uint32_t status = 0;
    checkResult(library->getTraceStatus(xmtrChannel, &status), "failed getting trace status");
    if ((status & statusTriggered) == 0)
        return false;
    std::uint32_t character = 0;
    checkResult(library->getCharacter(xmtrChannel, &character), "failed getting transmitter character");
    if ((character & characterFlushOnTrigger) != 0)
        flush();
    return true;
}

} // namespace VX_QRS::ORV::CLIENT
