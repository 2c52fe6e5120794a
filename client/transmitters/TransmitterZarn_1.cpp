#include "client/transmitters/TransmitterZarn_1.h"

#include "common/source/Exception.h"
#include "common/source/source_utilities/uLog.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <string_view>

namespace VX_QRS::ORV::CLIENT {

namespace {

constexpr const char* programLabel = "ORV Receiver";

// Result codes from 0 to this one are success.
constexpr int lastSuccess = 2;

/// The CPU class whose trace export has settings of its own.
constexpr std::uint32_t armAdapterKind = 2;

constexpr std::uint32_t testBlock = 5;
constexpr std::uint32_t clockBit = 0;
constexpr std::uint32_t defaultFrameSize = 64;

constexpr std::uint32_t statusTriggered = 1u << 30;
constexpr std::uint32_t characterNeedsFlush = 1u << 3;

struct ExportKind {
    std::uint32_t code; // as the library reports it
    std::string_view name;
    std::uint32_t clockPinMode;
    std::uint32_t dataPinMode;
    std::uint32_t functionMode;
    std::uint32_t pausedFunctionMode;
};

constexpr ExportKind exportKinds[] = {
    {1, exportPti, 13, 12, 3, 1},
    {4, exportTpiu, 18, 19, 9, 8},
    {5, exportTpiulite, 18, 19, 3, 1},
};

struct TestModeProgram {
    std::string_view name;
    std::optional<std::uint32_t> testMode;
    const char* pattern;
};

constexpr TestModeProgram testModePrograms[] = {
    {"a5", 0, patternA5},          {"walk", 1, patternWalk},
    {"ramp", 2, patternRampFrom0}, {"verification", 2, patternRampFrom0},
    {"lfsr", 3, patternLfsr},      {"f0", 4, patternF0},
    {"calibration", 4, patternF0}, {"none", std::nullopt, patternNone},
};

constexpr const char* pauseMode = "pause";

void checkResult(int code, const char* text, const SourceLocation& location = SourceLocation::current()) {
    if (code < 0 || code > lastSuccess) {
        fail(transmitterUnit, eXMTR, text, location);
    }
}

} // namespace

TransmitterZarn_1::TransmitterZarn_1(FrontEnd* unit, const char* name, Vx::Qrs::Trace::IXmtrLibrary* xmtrLibrary,
                                     std::uint32_t cookie, std::uint32_t channel, std::uint32_t kind,
                                     const ChannelSettings* setup)
    : TransmitterBase_1(unit, channel), cpuName(name != nullptr ? name : ""), library(xmtrLibrary), xmtrCookie(cookie),
      adapterKind(kind), traceSetup(setup) {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterZarn_1::TransmitterZarn_1");
    if (library == nullptr) {
        ownLibrary.load(cpuName);
        library = ownLibrary.library();
    }
}

TransmitterZarn_1::~TransmitterZarn_1() {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterZarn_1::~TransmitterZarn_1");
    try {
        closeLink();
    } catch (const std::exception& e) {
        logError("%s : %s", programLabel, e.what());
    } catch (...) {
        logError("%s : unknown exception", programLabel);
    }
}

void TransmitterZarn_1::applySettings() {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterZarn_1::applySettings");
    if (!dirty) {
        return;
    }
    closeLink();
    TransmitterBase_1::applySettings();
    unsigned kind = 0;
    library->getTransmitterKind(xmtrChannel, &kind);
    const auto found = std::find_if(std::begin(exportKinds), std::end(exportKinds),
                                    [kind](const ExportKind& known) { return known.code == kind; });
    if (found == std::end(exportKinds)) {
        fail(transmitterUnit, eXMTR,
             "this receiver does not support tracing this device : code " + std::to_string(kind));
    }
    drmXmtr = found->name;
    open();
    dirty = false;
}

void TransmitterZarn_1::open() {
    if (linkOpen) {
        return;
    }
    if (drmXmtr.empty()) {
        fail(transmitterUnit, eSEQUENCE, "drmXmtr not set");
    }
    if (library == nullptr) {
        fail(transmitterUnit, eSEQUENCE, "transmitter handle not set");
    }
    linkOpen = true;
}

void TransmitterZarn_1::closeLink() {
    if (!linkOpen) {
        return;
    }
    linkOpen = false;
    library->closeChannel(xmtrChannel);
}

void TransmitterZarn_1::program(const char* name, std::uint32_t frequencySetting) {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterZarn_1::program");
    if (pins.empty()) {
        fail(transmitterUnit, eSEQUENCE, "pins not set");
    }
    if (name != nullptr) {
        progName = name;
    }
    logMessage("%s %s progName=%s, frequencySetting=%d", programLabel, "TransmitterZarn_1::program", progName.c_str(),
               static_cast<int>(frequencySetting));
    const auto found = std::find_if(std::begin(testModePrograms), std::end(testModePrograms),
                                    [this](const TestModeProgram& known) { return known.name == progName; });
    if (found == std::end(testModePrograms)) {
        fail(transmitterUnit, eXMTR, "invalid program");
    }
    progName = found->pattern;
    updatePattern();
    releasePins();
    allocatePins();
    checkResult(library->setPortWidth(xmtrChannel, numDataPins()), "failed setting port width");
    if (drmXmtr != exportTpiulite) {
        setModes(found->testMode, frequencySetting);
    }
    if (adapterKind == armAdapterKind) {
        applyTraceSetup();
    }
    checkResult(library->programChannel(xmtrChannel), "failed programming channel");
    checkResult(library->enablePort(xmtrChannel), "failed enabling port");
    checkResult(library->enablePins(xmtrChannel), "failed enabling pins");
}

void TransmitterZarn_1::releasePins() {
    for (const std::uint32_t pin : pins) {
        checkResult(library->releasePin(xmtrChannel, pin, 0), "failed releasing pin");
    }
}

void TransmitterZarn_1::allocatePins() {
    const auto kind = std::find_if(std::begin(exportKinds), std::end(exportKinds),
                                   [this](const ExportKind& known) { return known.name == drmXmtr; });
    if (kind == std::end(exportKinds)) {
        fail(transmitterUnit, eTYPE, drmXmtr);
    }
    const auto allocate = [this](std::uint32_t mode, std::uint32_t bit, std::uint32_t pin, const char* failure) {
        checkResult(library->allocatePin(xmtrChannel, mode, bit, pin, 0), failure);
        logMessage("%s : transmitter allocated EMU%d to bit%d in mode %d", programLabel, static_cast<int>(pin),
                   static_cast<int>(bit), static_cast<int>(mode));
    };
    allocate(kind->clockPinMode, clockBit, pins.front(), "failed allocating clock pin");
    // The first pin after the clock carries bit 0 and is allocated last.
    for (std::uint32_t i = numDataPins(); i > 0; --i) {
        allocate(kind->dataPinMode, i - 1, pins[i], "failed allocating data pin");
    }
}

void TransmitterZarn_1::setModes(std::optional<std::uint32_t> testMode, std::uint32_t frequencySetting) {
    const auto kind = std::find_if(std::begin(exportKinds), std::end(exportKinds),
                                   [this](const ExportKind& known) { return known.name == drmXmtr; });
    library->setOption(xmtrChannel, 0);
    checkResult(
        library->setFunctionMode(xmtrChannel, xmtrMode == pauseMode ? kind->pausedFunctionMode : kind->functionMode),
        "failed setting stm function mode");
    if (testMode) {
        checkResult(library->setTestMode(xmtrChannel, testBlock, *testMode), "failed setting stm test mode");
    }
    checkResult(library->applyFrequency(xmtrChannel, frequencySetting), "failed applying frequency setting");
}

void TransmitterZarn_1::applyTraceSetup() {
    if (!keptSetup && traceSetup == nullptr) {
        fail(transmitterUnit, eNULL);
    }
    const ExportSettings setup = keptSetup ? *keptSetup : ExportSettings(*traceSetup);
    library->setStallCpu(xmtrChannel, setup.stallCpu);
    library->setMonitorCprt(xmtrChannel, setup.monitorCprt);
    library->setNoDataTraceOnFifoFull(xmtrChannel, setup.noDataTraceOnFifoFull);
    library->setCycleAccurate(xmtrChannel, setup.cycleAccurateTrace);
    unsigned value = 0;
    unsigned frameSize = 0;
    library->getExportFrameLimits(xmtrChannel, &value, &frameSize);
    if (frameSize != 0) { // the setting only chooses: its own number is not passed on
        library->setExportFrameSize(xmtrChannel, setup.exportFrameSize != 0 ? frameSize : defaultFrameSize);
    }
}

void TransmitterZarn_1::end(bool flag) {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterZarn_1::end");
    checkResult(library->applyEnd(xmtrChannel, flag), "failed applying end of trace");
}

void TransmitterZarn_1::flush() {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterZarn_1::flush");
    checkResult(library->flushBuffer(xmtrChannel), "failed flushing buffer");
}

void TransmitterZarn_1::shutdown() {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterZarn_1::shutdown");
    checkResult(library->shutdownPort(xmtrChannel), "failed shutting down port");
}

void TransmitterZarn_1::reset() {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterZarn_1::reset");
    constexpr const char* failure = "failed resetting trace status";
    std::uint32_t status = 0;
    checkResult(library->getTraceStatus(xmtrChannel, &status), failure);
    if (status != 0) {
        checkResult(library->clearTraceStatus(xmtrChannel, status), failure);
    }
}

std::uint32_t TransmitterZarn_1::numFrequencySettings() {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterZarn_1::numFrequencySettings");
    unsigned count = 0;
    checkResult(library->getNumFrequencySettings(xmtrChannel, &count), "failed getting transmitter character");
    return count;
}

bool TransmitterZarn_1::hasTriggered() {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterZarn_1::hasTriggered");
    std::uint32_t status = 0;
    checkResult(library->getTraceStatus(xmtrChannel, &status), "failed getting trace status");
    if ((status & statusTriggered) == 0) {
        return false;
    }
    std::uint32_t character = 0;
    checkResult(library->getCharacter(xmtrChannel, &character), "failed getting transmitter character");
    if ((character & characterNeedsFlush) != 0) {
        flush();
    }
    return true;
}

TransmitterZarn_1::ExportSettings::ExportSettings(const ChannelSettings& setup) noexcept
    : stallCpu(setup.stallCpu), monitorCprt(setup.monitorCprt), noDataTraceOnFifoFull(setup.noDataTraceOnFifoFull),
      cycleAccurateTrace(setup.cycleAccurateTrace), exportFrameSize(setup.exportFrameSize) {}

void TransmitterZarn_1::setupLeaves(const ChannelSettings* leaving) noexcept {
    if (keptSetup || traceSetup == nullptr || (leaving != nullptr && leaving != traceSetup)) {
        return;
    }
    keptSetup.emplace(*traceSetup);
    traceSetup = nullptr;
}

} // namespace VX_QRS::ORV::CLIENT
