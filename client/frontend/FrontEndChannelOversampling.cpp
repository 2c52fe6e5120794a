#include "client/analysis/Burst.h"
#include "client/frontend/ChannelLog.h"
#include "client/frontend/FrontEndChannel_1.h"
#include "common/source/Exception.h"
#include "common/source/source_utilities/uLog.h"

#include <algorithm>
#include <array>

// Taking a burst of raw samples of all pins, and the unit's error flags.

namespace VX_QRS::ORV::CLIENT {

namespace {

constexpr int fillPolls = 100;
constexpr std::uint32_t pollInterval = 1; // milliseconds

/// A bit for each pin in use, the clock's on top.
std::uint32_t pinMask(std::uint32_t numPins) {
    std::uint32_t mask = 0;
    for (std::uint32_t p = 0; p < analysis::usedPins(numPins); ++p) {
        mask |= 0x8000U >> p;
    }
    return mask;
}

} // namespace

void FrontEndChannel_1::captureOvs() {
    clearOvs();
    triggerOvs();
    readOvs();
}

void FrontEndChannel_1::readOvsStats(OvsStats& stats) {
    const std::uint32_t used = analysis::usedPins(settings.numPins);
    std::array<RegisterAccess, registers::maxProcs> list{};
    for (std::uint32_t p = 0; p < used; ++p) {
        list[p] = {registers::kindUnit, registers::ovsStatus(p), 0};
    }
    frontEnd->getDataClient()->read(list.data(), used);
    for (std::uint32_t p = 0; p < used; ++p) {
        stats.entry[p].flagged = (list[p].value & registers::ovsStatusFlagged) != 0;
        stats.entry[p].filled = (list[p].value & registers::ovsStatusFilled) != 0;
        stats.entry[p].level = list[p].value & registers::ovsStatusLevel;
    }
}

void FrontEndChannel_1::clearOvs() {
    const std::uint32_t used = analysis::usedPins(settings.numPins);
    for (std::uint32_t p = 0; p < used; ++p) {
        for (RegisterAccess& access : oversampling.ovsAccess[p]) {
            access = {registers::kindUnit, registers::ovsData(p), 0};
        }
    }
    OvsStats stats(used);
    readOvsStats(stats);
    for (std::uint32_t p = 0; p < used; ++p) {
        auto& list = oversampling.ovsAccess[p];
        const std::uint32_t stale = std::min(stats.entry[p].level, static_cast<std::uint32_t>(list.size()));
        if (stale != 0) {
            frontEnd->getDataClient()->read(list.data(), stale);
        }
    }
    readOvsStats(stats);
    if (!stats.isEmpty()) {
        fail(frontEndUnit, eFAIL, "failed to clear ovs fifo");
    }
}

void FrontEndChannel_1::triggerOvs() {
    const std::array<RegisterAccess, 3> list{{
        {registers::kindUnit, registers::command, registers::commandOvsArm},
        {registers::kindUnit, registers::command, registers::commandOvsTrigger},
        {registers::kindUnit, registers::command, 0},
    }};
    frontEnd->getDataClient()->write(list.data(), static_cast<std::uint32_t>(list.size()));
}

void FrontEndChannel_1::readOvs() {
    const std::uint32_t used = analysis::usedPins(settings.numPins);
    OvsStats stats(used);
    bool filled = false;
    for (int poll = 0; poll < fillPolls; ++poll) {
        readOvsStats(stats);
        filled = stats.isFilled();
        if (filled) {
            break;
        }
        frontEnd->waits().sleep(pollInterval);
    }
    if (!filled) {
        fail(frontEndUnit, eFAIL, "ovs fifo failed to fill");
    }
    for (std::uint32_t p = 0; p < used; ++p) {
        auto& list = oversampling.ovsAccess[p];
        frontEnd->getDataClient()->read(list.data(), static_cast<std::uint32_t>(list.size()));
        std::ranges::transform(list, oversampling.ovsWords[p].begin(), [](const RegisterAccess& access) {
            return static_cast<std::uint16_t>(access.value & 0xFFFF);
        });
    }
}

std::uint32_t FrontEndChannel_1::readOvsError() {
    std::array<RegisterAccess, 2> list{{
        {registers::kindUnit, registers::address(registers::errorStatusA, channelNumber), 0},
        {registers::kindUnit, registers::address(registers::errorStatusB, channelNumber), 0},
    }};
    frontEnd->getDataClient()->read(list.data(), static_cast<std::uint32_t>(list.size()));
    return ((list[0].value & registers::errorStatusAFlag) << 16) | (list[1].value & pinMask(settings.numPins));
}

void FrontEndChannel_1::clearOvsError() {
    const std::array<RegisterAccess, 2> list{{
        {registers::kindUnit, registers::address(registers::errorStatusA, channelNumber), pinMask(settings.numPins)},
        {registers::kindUnit, registers::address(registers::errorStatusB, channelNumber), registers::errorStatusBClear},
    }};
    frontEnd->getDataClient()->write(list.data(), static_cast<std::uint32_t>(list.size()));
}

std::uint32_t FrontEndChannel_1::ovs(bool capture, bool clearError) {
    logEntry(frontEndUnit, "VX_QRS::ORV::CLIENT::FrontEndChannel_1::ovs");
    const uMutexLock lock(*mutex);
    const bool opening = !session.opened;
    if (opening) {
        open();
    }
    if (capture) {
        if (control.state != Recording) {
            sync();
            setupPins(calibration.cal);
            readCal(calibration.cal); // what the unit really holds is what is listed
            transmitter->shutdown();
            transmitter->program(settings.testPattern.c_str(), clocking.frequencySetting);
            measureFreq();
            applyFrequencyChange(clocking.exportFrequency);
        }
        captureOvs();
        logOvs(calibration.cal);
    }
    const std::uint32_t flags = readOvsError();
    if (clearError) {
        clearOvsError();
    }
    if (opening) {
        close();
    }
    return flags;
}

} // namespace VX_QRS::ORV::CLIENT
