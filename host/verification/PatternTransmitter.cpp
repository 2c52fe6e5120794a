#include "host/verification/PatternTransmitter.h"

namespace host {

namespace {

constexpr unsigned patternBlock = 5;

bool isSuccess(int result) {
    return result >= 0 && result <= 2;
}

} // namespace

void PatternTransmitter::order(Pattern pattern) {
    ordered = static_cast<int>(pattern);
    set = false;
    programmed = false;
    refused = 0;
}

void PatternTransmitter::cancel() {
    ordered = noOrder;
    set = false;
}

int PatternTransmitter::setFunctionMode(unsigned channel, unsigned mode) {
    const int result = library->setFunctionMode(channel, mode);
    const int pattern = ordered;
    set = false;
    if (pattern == noOrder || !isSuccess(result)) {
        return result;
    }
    const int answer = library->setTestMode(channel, patternBlock, static_cast<unsigned>(pattern));
    if (!isSuccess(answer)) {
        refused = answer;
        return answer;
    }
    set = true;
    return result;
}

int PatternTransmitter::programChannel(unsigned channel) {
    const int result = library->programChannel(channel);
    programmed = set && isSuccess(result);
    return result;
}

/// The receiver's own pattern, during a calibration, replaces an ordered one.
int PatternTransmitter::setTestMode(unsigned channel, unsigned block, unsigned mode) {
    set = false;
    return library->setTestMode(channel, block, mode);
}

int PatternTransmitter::closeChannel(unsigned channel) {
    return library->closeChannel(channel);
}

int PatternTransmitter::enablePort(unsigned channel) {
    return library->enablePort(channel);
}

int PatternTransmitter::flushBuffer(unsigned channel) {
    return library->flushBuffer(channel);
}

int PatternTransmitter::shutdownPort(unsigned channel) {
    return library->shutdownPort(channel);
}

int PatternTransmitter::applyFrequency(unsigned channel, unsigned setting) {
    return library->applyFrequency(channel, setting);
}

int PatternTransmitter::setExportFrameSize(unsigned channel, unsigned size) {
    return library->setExportFrameSize(channel, size);
}

int PatternTransmitter::getNumFrequencySettings(unsigned channel, unsigned* count) {
    return library->getNumFrequencySettings(channel, count);
}

int PatternTransmitter::allocatePin(unsigned channel, unsigned mode, unsigned bit, unsigned emuPin, unsigned reserved) {
    return library->allocatePin(channel, mode, bit, emuPin, reserved);
}

int PatternTransmitter::setStallCpu(unsigned channel, bool flag) {
    return library->setStallCpu(channel, flag);
}

int PatternTransmitter::releasePin(unsigned channel, unsigned emuPin, unsigned reserved) {
    return library->releasePin(channel, emuPin, reserved);
}

int PatternTransmitter::setPortWidth(unsigned channel, unsigned dataPins) {
    return library->setPortWidth(channel, dataPins);
}

int PatternTransmitter::getExportFrameLimits(unsigned channel, unsigned* value, unsigned* frameSize) {
    return library->getExportFrameLimits(channel, value, frameSize);
}

int PatternTransmitter::getTraceStatus(unsigned channel, std::uint32_t* status) {
    return library->getTraceStatus(channel, status);
}

int PatternTransmitter::clearTraceStatus(unsigned channel, std::uint32_t status) {
    return library->clearTraceStatus(channel, status);
}

int PatternTransmitter::getCharacter(unsigned channel, std::uint32_t* value) {
    return library->getCharacter(channel, value);
}

int PatternTransmitter::applyEnd(unsigned channel, bool flag) {
    return library->applyEnd(channel, flag);
}

int PatternTransmitter::setCycleAccurate(unsigned channel, bool flag) {
    return library->setCycleAccurate(channel, flag);
}

int PatternTransmitter::setMonitorCprt(unsigned channel, bool flag) {
    return library->setMonitorCprt(channel, flag);
}

int PatternTransmitter::setNoDataTraceOnFifoFull(unsigned channel, bool flag) {
    return library->setNoDataTraceOnFifoFull(channel, flag);
}

int PatternTransmitter::getTransmitterKind(unsigned channel, unsigned* kind) {
    return library->getTransmitterKind(channel, kind);
}

int PatternTransmitter::setOption(unsigned channel, unsigned value) {
    return library->setOption(channel, value);
}

int PatternTransmitter::enablePins(unsigned channel) {
    return library->enablePins(channel);
}

} // namespace host
