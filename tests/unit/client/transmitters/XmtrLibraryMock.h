#pragma once

#include "rcvr/framework/IXmtrLibrary.h"

#include <gmock/gmock.h>

#include <cstdint>

namespace transmitter_test {

/// The transmitter library's object.
class MockXmtrLibrary : public Vx::Qrs::Trace::IXmtrLibrary {
public:
    MOCK_METHOD(int, closeChannel, (unsigned), (override));
    MOCK_METHOD(int, programChannel, (unsigned), (override));
    MOCK_METHOD(int, enablePort, (unsigned), (override));
    MOCK_METHOD(int, flushBuffer, (unsigned), (override));
    MOCK_METHOD(int, shutdownPort, (unsigned), (override));
    MOCK_METHOD(int, setTestMode, (unsigned, unsigned, unsigned), (override));
    MOCK_METHOD(int, applyFrequency, (unsigned, unsigned), (override));
    MOCK_METHOD(int, setExportFrameSize, (unsigned, unsigned), (override));
    MOCK_METHOD(int, getNumFrequencySettings, (unsigned, unsigned*), (override));
    MOCK_METHOD(int, allocatePin, (unsigned, unsigned, unsigned, unsigned, unsigned), (override));
    MOCK_METHOD(int, setStallCpu, (unsigned, bool), (override));
    MOCK_METHOD(int, releasePin, (unsigned, unsigned, unsigned), (override));
    MOCK_METHOD(int, setPortWidth, (unsigned, unsigned), (override));
    MOCK_METHOD(int, setFunctionMode, (unsigned, unsigned), (override));
    MOCK_METHOD(int, getExportFrameLimits, (unsigned, unsigned*, unsigned*), (override));
    MOCK_METHOD(int, getTraceStatus, (unsigned, std::uint32_t*), (override));
    MOCK_METHOD(int, clearTraceStatus, (unsigned, std::uint32_t), (override));
    MOCK_METHOD(int, getCharacter, (unsigned, std::uint32_t*), (override));
    MOCK_METHOD(int, applyEnd, (unsigned, bool), (override));
    MOCK_METHOD(int, setCycleAccurate, (unsigned, bool), (override));
    MOCK_METHOD(int, setMonitorCprt, (unsigned, bool), (override));
    MOCK_METHOD(int, setNoDataTraceOnFifoFull, (unsigned, bool), (override));
    MOCK_METHOD(int, getTransmitterKind, (unsigned, unsigned*), (override));
    MOCK_METHOD(int, setOption, (unsigned, unsigned), (override));
    MOCK_METHOD(int, enablePins, (unsigned), (override));
};

} // namespace transmitter_test
