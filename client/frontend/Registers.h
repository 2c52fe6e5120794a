#pragma once

#include <cstdint>

// Every register of the capture unit that this system touches, by name. Addresses are byte addresses; registers are 16
// bits wide, so that neighbours differ by 2. A channel's registers repeat with a stride of their own.

namespace VX_QRS::ORV::CLIENT::registers {

/// What `kind` in a RegisterAccess selects.
inline constexpr std::uint32_t kindUnit = 1;
inline constexpr std::uint32_t kindBridge = 2;

/// Pins of a channel: proc 0 is the trace clock, the others carry data.
inline constexpr std::uint32_t maxProcs = 8;

struct Block {
    std::uint32_t base;
    std::uint32_t channelStride;
};

constexpr std::uint32_t address(Block block, std::uint32_t channel) {
    return block.base + block.channelStride * channel;
}

// Identity, for the register dump only.
inline constexpr std::uint32_t unitId0 = 0x08000000;
inline constexpr std::uint32_t unitId1 = 0x08000008;
inline constexpr std::uint32_t unitId2 = 0x0800000C;
inline constexpr std::uint32_t unitId3 = 0x0800000E;

// The unit's own pattern generator.
inline constexpr std::uint32_t patternControl = 0x08000010; // 10..8 pattern code, 5..4 width code; 0 stops it
inline constexpr std::uint32_t patternSetup1 = 0x08000148;
inline constexpr std::uint32_t patternSetup2 = 0x0800014C;

// Sampling clock.
inline constexpr std::uint32_t referenceClockLow = 0x08000030;
inline constexpr std::uint32_t referenceClockHigh = 0x08000032;
inline constexpr std::uint32_t clockRatio = 0x08000034; // 15..8 multiplier, 7..0 divider

// Buffer block; all but the status is for the register dump only.
inline constexpr std::uint32_t bufferBlock0 = 0x08001000; // five registers
inline constexpr std::uint32_t bufferStatus = 0x0800100A;
inline constexpr std::uint32_t bufferStatusWrapped = 1u << 12;
inline constexpr std::uint32_t bufferBlockC = 0x0800100C;
inline constexpr std::uint32_t bufferBlock10 = 0x08001010;
inline constexpr std::uint32_t bufferBlock12 = 0x08001012;
inline constexpr std::uint32_t bufferBlock14 = 0x08001014;
inline constexpr std::uint32_t bufferBlock80 = 0x08001080; // two registers
inline constexpr std::uint32_t bufferBlock84 = 0x08001084; // three registers

// Per channel.
inline constexpr Block errorStatusA{0x08008010, 2}; // bit 15 counts; cleared by writing the pin mask
inline constexpr std::uint32_t errorStatusAFlag = 0x8000;
inline constexpr Block errorStatusB{0x08008020, 2}; // bit 15 - p for proc p
inline constexpr std::uint32_t errorStatusBClear = 0x800F;
inline constexpr Block protocol{0x08008018, 2}; // 2 for formatter output, 0 for framed words
inline constexpr std::uint32_t protocolFormatter = 2;
inline constexpr Block dump30{0x08008030, 2}; // for the register dump only
inline constexpr Block stmTimeout{0x08008040, 2};
inline constexpr std::uint32_t stmTimeoutPeriodMask = 0x3FF0;
inline constexpr std::uint32_t stmTimeoutZeroEnable = 1u << 1;
inline constexpr std::uint32_t stmTimeoutClockEnable = 1u << 0;
inline constexpr Block stmControl{0x08008050, 2};
inline constexpr std::uint32_t stmControlBypassProtocol = 1u << 8;
inline constexpr std::uint32_t stmControlSyncPeriodMask = 0x3C00; // of the period, before the shift
inline constexpr std::uint32_t stmControlSyncPeriodShift = 6;     // down
inline constexpr std::uint32_t stmControlPeriodicSync = 1u << 3;
inline constexpr std::uint32_t stmControlDiagnosticTiming = 1u << 2;
inline constexpr std::uint32_t stmControl32BitDataLimit = 1u << 1;
inline constexpr std::uint32_t stmControlCaptureEnable = 1u << 0;
inline constexpr Block commsStatus{0x08008060, 2};
inline constexpr std::uint32_t commsStatusMask = 0x9F;
inline constexpr std::uint32_t commsStatusIdle = 0x80;
inline constexpr Block frequencyWindowLow{0x080080E0, 4};
inline constexpr Block frequencyWindowHigh{0x080080E2, 4};
inline constexpr Block frequencyCountLow{0x080080F0, 4};
inline constexpr Block frequencyCountHigh{0x080080F2, 4};

// Per channel and proc.
inline constexpr Block procInput{0x08008100, 64}; // 15 enable, 14..8 receiver input, 7..0 delay
inline constexpr std::uint32_t procInputEnable = 0x8000;
inline constexpr Block procConditioning{0x08008120, 64}; // 15..12 filter, 11..8 stretch, 7..5 plateau, 4..0 debounce

/// The clock sits in the last slot of its block.
constexpr std::uint32_t procSlot(std::uint32_t proc) {
    return proc == 0 ? 30 : 2 * proc - 2;
}
constexpr std::uint32_t address(Block block, std::uint32_t channel, std::uint32_t proc) {
    return address(block, channel) + procSlot(proc);
}

/// The clock's enable bit starts and stops the capture.
constexpr std::uint32_t clockEnable(std::uint32_t channel) {
    return address(procInput, channel, 0);
}

// For the register dump only.
inline constexpr std::uint32_t dump140 = 0x08008140; // ten registers
inline constexpr std::uint32_t dump158 = 0x08008158; // four registers

// Oversampling; these belong to the unit, not to a channel.
inline constexpr std::uint32_t command = 0x08008206;
inline constexpr std::uint32_t commandSync = 0x0800;
inline constexpr std::uint32_t commandOvsArm = 0x001F;
inline constexpr std::uint32_t commandOvsTrigger = 0x801F;
inline constexpr std::uint32_t ovsStatusBase = 0x0800820C;
inline constexpr std::uint32_t ovsDataBase = 0x0800820E;
inline constexpr std::uint32_t ovsProcStride = 8;
inline constexpr std::uint32_t ovsStatusFlagged = 0x8000;
inline constexpr std::uint32_t ovsStatusFilled = 0x0200;
inline constexpr std::uint32_t ovsStatusLevel = 0x01FF;
constexpr std::uint32_t ovsStatus(std::uint32_t proc) {
    return ovsStatusBase + ovsProcStride * proc;
}
constexpr std::uint32_t ovsData(std::uint32_t proc) {
    return ovsDataBase + ovsProcStride * proc;
}

// Bridge, kind 2.
inline constexpr std::uint32_t bridgeStatus = 0x01C70404;
inline constexpr std::uint32_t bridgeStatusNeedsReset = 1u << 1;
inline constexpr std::uint32_t bridgeControl = 0x01C40044;
inline constexpr std::uint32_t bridgeControlReset = 1u << 2;

static_assert(address(procInput, 0, 0) == 0x0800811E && address(procInput, 1, 0) == 0x0800815E);
static_assert(address(procInput, 0, 1) == 0x08008100 && address(procInput, 0, 7) == 0x0800810C);
static_assert(address(procConditioning, 0, 0) == 0x0800813E && address(procConditioning, 0, 7) == 0x0800812C);
static_assert(address(frequencyCountHigh, 3) == 0x080080FE && address(errorStatusB, 7) == 0x0800802E);
static_assert(ovsStatus(0) == 0x0800820C && ovsData(7) == 0x08008246);

} // namespace VX_QRS::ORV::CLIENT::registers
