#pragma once

#include <cstdint>

// The unit's register space by name. Registers are 16 bits wide, at even byte addresses; the two bridge
// registers are of another kind and 32 bits wide.
namespace bench::reg {

using Address = std::uint32_t;

inline constexpr std::uint32_t kindUnit = 1;
inline constexpr std::uint32_t kindBridge = 2;

inline constexpr unsigned channels = 4;
inline constexpr unsigned procs = 8;

inline constexpr Address patternControl = 0x8000010;
inline constexpr Address referenceLow = 0x8000030;
inline constexpr Address referenceHigh = 0x8000032;
inline constexpr Address clockRatio = 0x8000034;
inline constexpr Address patternSetup1 = 0x8000148;
inline constexpr Address patternSetup2 = 0x800014C;
inline constexpr Address bufferStatus = 0x800100A;
inline constexpr Address capture = 0x8008206;
inline constexpr Address bridgeStatus = 0x1C70404;
inline constexpr Address bridgeControl = 0x1C40044;

constexpr Address errorA(unsigned channel) {
    return 0x8008010 + 2 * channel;
}
constexpr Address protocol(unsigned channel) {
    return 0x8008018 + 2 * channel;
}
constexpr Address errorB(unsigned channel) {
    return 0x8008020 + 2 * channel;
}
constexpr Address stmTimeout(unsigned channel) {
    return 0x8008040 + 2 * channel;
}
constexpr Address stmControl(unsigned channel) {
    return 0x8008050 + 2 * channel;
}
constexpr Address commsStatus(unsigned channel) {
    return 0x8008060 + 2 * channel;
}
constexpr Address windowLow(unsigned channel) {
    return 0x80080E0 + 4 * channel;
}
constexpr Address windowHigh(unsigned channel) {
    return 0x80080E2 + 4 * channel;
}
constexpr Address countLow(unsigned channel) {
    return 0x80080F0 + 4 * channel;
}
constexpr Address countHigh(unsigned channel) {
    return 0x80080F2 + 4 * channel;
}

// The clock's slot is the last of the sixteen.
constexpr Address procSlot(unsigned proc) {
    return proc == 0 ? 30 : 2 * proc - 2;
}
constexpr Address procFirst(unsigned channel, unsigned proc) {
    return 0x8008100 + 64 * channel + procSlot(proc);
}
constexpr Address procSecond(unsigned channel, unsigned proc) {
    return 0x8008120 + 64 * channel + procSlot(proc);
}

constexpr Address fifoStatus(unsigned proc) {
    return 0x800820C + 8 * proc;
}
constexpr Address fifoData(unsigned proc) {
    return 0x800820E + 8 * proc;
}

static_assert(procFirst(0, 0) == 0x800811E && procFirst(0, 7) == 0x800810C);
static_assert(procSecond(0, 0) == 0x800813E && procSecond(1, 1) == 0x8008160);
static_assert(countHigh(0) == 0x80080F2 && fifoData(7) == 0x8008246);

// Fields.
inline constexpr unsigned enableBit = 0x8000;        // proc register 1; that of proc 0 starts and stops the capture
inline constexpr unsigned captureEnableBit = 0x1;    // stm control
inline constexpr unsigned protocolBypassBit = 0x100; // stm control
inline constexpr unsigned protocolWordsBit = 0x2;    // protocol: every word is payload
inline constexpr unsigned wrappedBit = 0x1000;       // buffer status
inline constexpr unsigned commsIdle = 0x80;
inline constexpr unsigned commsBusy = 0x81;
inline constexpr unsigned fifoFull = 0x200;
inline constexpr unsigned bridgeResetNeeded = 0x2; // bridge status
inline constexpr unsigned bridgeReset = 0x4;       // bridge control

} // namespace bench::reg
