#include "client/analysis/Periods.h"
#include "client/frontend/ChannelLog.h"
#include "client/frontend/FrontEndChannel_1.h"
#include "common/source/Exception.h"
#include "common/source/source_utilities/uLog.h"
#include "common/source/source_utilities/uString.h"

#include <array>
#include <string>

namespace VX_QRS::ORV::CLIENT {

namespace {

/// The unit's input for each EMU pin of the connector.
constexpr std::array<std::uint32_t, 6> receiverInputs{4, 5, 2, 3, 6, 7};

/// Words; for a wrapping recording without a period of its own, which should not hold back data for long.
constexpr std::uint32_t wrapTimeoutPeriod = 2000;

constexpr std::uint32_t minPeriod = 2;
constexpr std::uint32_t maxTimeoutPeriod = 16352;
constexpr std::uint32_t maxSyncPeriod = 14336;

constexpr unsigned idlePolls = 10;

void appendItem(std::string& list, const std::string& item) {
    if (!list.empty()) {
        list += ',';
    }
    list += item;
}

} // namespace

std::uint32_t FrontEndChannel_1::readRegister(std::uint32_t kind, std::uint32_t address) {
    RegisterAccess access{kind, address, 0};
    frontEnd->getDataClient()->read(&access, 1);
    return access.value;
}

void FrontEndChannel_1::writeRegister(std::uint32_t kind, std::uint32_t address, std::uint32_t value) {
    const RegisterAccess access{kind, address, value};
    frontEnd->getDataClient()->write(&access, 1);
}

void FrontEndChannel_1::writeLogged(const char* what, std::uint32_t address, std::uint32_t value,
                                    const SourceLocation& location) {
    writeRegister(registers::kindUnit, address, value);
    logStep(here(location), "%s [0x%08x]=0x%04x", what, address, value);
}

bool FrontEndChannel_1::applyPinSettings() {
    if (settings.numPins < 2) {
        fail(frontEndUnit, eCONFIG, "invalid pin settings, at least 1 clock and 1 data pin are required");
    }
    if (settings.numPins > registers::maxProcs) {
        fail(frontEndUnit, eCONFIG, "invalid pin settings, at most 1 clock and 7 data pins are possible");
    }
    transmitter->setProperty("pins", settings.pinMap.c_str());
    if (settings.pinMap.empty()) {
        return true;
    }
    session.rcvrPins.clear();
    session.emuPins.clear();
    std::vector<std::string> items;
    if (uString::split(items, settings.pinMap, ",") != settings.numPins) {
        return false;
    }
    // The clock is first; the data pins are reversed, so that the last one of the map is proc 1.
    std::string emuText;
    session.emuPins.push_back(uString::toNumber<std::uint32_t>(items.front()));
    for (std::size_t i = items.size() - 1; i > 0; --i) {
        session.emuPins.push_back(uString::toNumber<std::uint32_t>(items[i]));
        appendItem(emuText, items[i]);
    }
    std::string rcvrText;
    for (const std::uint32_t pin : session.emuPins) {
        if (pin >= receiverInputs.size()) {
            fail(frontEndUnit, eFAIL,
                 "receiver is not connected to one or more of the requested EMU pins, " + settings.pinMap);
        }
        session.rcvrPins.push_back(receiverInputs[pin]);
        appendItem(rcvrText, std::to_string(receiverInputs[pin]));
    }
    logMessage("%s : mapped emupins=%s to rcvrpins=%s", programLabel, emuText.c_str(), rcvrText.c_str());
    return true;
}

void FrontEndChannel_1::setupPins(Cal& target) {
    const std::vector<std::uint32_t>& pins = session.rcvrPins;
    const auto pinOf = [&pins](std::size_t p) { return p < pins.size() ? pins[p] : 0; };
    for (std::uint32_t p = 0; p < registers::maxProcs; ++p) {
        ProcCal& proc = target.proc[p];
        if (p < settings.numPins) {
            proc.rcvrpin = pinOf(p);
            proc.enable = 1;
        } else {
            proc.rcvrpin = pinOf(0);
            proc.enable = 0;
            proc.filter = 0;
            proc.plateau = 0;
            proc.debounce = 0;
            proc.delay = 0;
            proc.stretch = 0;
        }
    }
}

std::uint32_t FrontEndChannel_1::disableClock() {
    const std::uint32_t address = registers::clockEnable(channelNumber);
    const std::uint32_t value = readRegister(registers::kindUnit, address);
    writeLogged("disabled clock", address, value & ~registers::procInputEnable);
    return value;
}

void FrontEndChannel_1::flushStm() {
    using namespace registers;
    const std::uint32_t controlAddress = address(stmControl, channelNumber);
    const std::uint32_t value = readRegister(kindUnit, controlAddress);
    writeLogged("disabled", controlAddress, value & ~stmControlCaptureEnable);
    waitForCommsIdle(idlePolls);
    if ((readRegister(kindBridge, bridgeStatus) & bridgeStatusNeedsReset) != 0) {
        writeRegister(kindBridge, bridgeControl, bridgeControlReset);
        writeRegister(kindBridge, bridgeControl, 0);
    }
}

void FrontEndChannel_1::waitForCommsIdle(unsigned polls) {
    using namespace registers;
    for (unsigned i = 0; i < polls; ++i) {
        const std::uint32_t value = readRegister(kindUnit, address(commsStatus, channelNumber));
        if ((value & commsStatusMask) == commsStatusIdle) {
            return;
        }
        frontEnd->waits().sleep(1);
    }
    fail(frontEndUnit, eFAIL, "timeout waiting for orv comms to go idle");
}

std::uint32_t FrontEndChannel_1::convertPeriod(std::uint32_t words, std::uint32_t low, std::uint32_t high) const {
    // Not a number before any frequency is known.
    const double ratio = clocking.wordClockFrequency / clocking.dataFrequency;
    return analysis::convertPeriod(words, low, high, ratio);
}

void FrontEndChannel_1::programRecordingRegisters(bool bypassProtocol, std::uint32_t clockRegister) {
    using namespace registers;
    const auto flag = [](bool set, std::uint32_t bit) { return set ? bit : 0u; };

    std::uint32_t words = settings.stmTimeoutPeriod;
    if (words == notSet && settings.orvBufMode == "wrap") {
        words = wrapTimeoutPeriod;
    }
    const std::uint32_t timeout = convertPeriod(words, minPeriod, maxTimeoutPeriod);
    writeLogged("programmed stm timeout register", address(stmTimeout, channelNumber),
                (timeout & stmTimeoutPeriodMask) | flag(settings.stmZeroTimeoutEnable, stmTimeoutZeroEnable) |
                    flag(settings.stmClockTimeoutEnable, stmTimeoutClockEnable));

    const std::uint32_t syncPeriod = convertPeriod(settings.stmSyncPeriod, minPeriod, maxSyncPeriod);
    writeLogged("programmed stm control register", address(stmControl, channelNumber),
                (syncPeriod & stmControlSyncPeriodMask) >> stmControlSyncPeriodShift |
                    flag(settings.stmPeriodicSyncEnable, stmControlPeriodicSync) |
                    flag(settings.stmDiagnosticTimingEnable, stmControlDiagnosticTiming) |
                    flag(settings.stm32BitDataLimit, stmControl32BitDataLimit) | stmControlCaptureEnable |
                    flag(bypassProtocol, stmControlBypassProtocol));

    writeLogged("programmed stm protocol register", address(protocol, channelNumber),
                flag(settings.drmXmtr != "pti" && !bypassProtocol, protocolFormatter));

    writeLogged("enabled clock", clockEnable(channelNumber), clockRegister | procInputEnable);
}

} // namespace VX_QRS::ORV::CLIENT
