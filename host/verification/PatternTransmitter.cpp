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

/// Makes the call, and keeps it for a repetition. A programming begins with the release of the pins and ends with their
/// enabling.
int PatternTransmitter::programming(Call kind, std::function<int()> call) {
    if (kind == Call::ReleasePin && !growing.empty() && growing.back().kind != Call::ReleasePin) {
        growing.clear(); // the one before has not come to its end
    }
    const int result = call();
    growing.push_back({kind, std::move(call)});
    if (kind == Call::Last && isSuccess(result)) {
        complete = std::move(growing);
        growing.clear();
    }
    return result;
}

/// The same program with this pattern in place of what it sent. Of a call that fails the burst shows the consequence.
void PatternTransmitter::repeatProgramming(Pattern pattern) {
    for (const Programmed& each : complete) {
        if (each.kind != Call::TestMode) {
            each.repeat();
        }
        if (each.kind == Call::FunctionMode) {
            library->setTestMode(programmedChannel, patternBlock, static_cast<unsigned>(pattern));
        }
    }
}

std::optional<unsigned> PatternTransmitter::settings() {
    unsigned count = 0;
    return isSuccess(library->getNumFrequencySettings(programmedChannel, &count)) ? std::optional(count) : std::nullopt;
}

int PatternTransmitter::setFunctionMode(unsigned channel, unsigned mode) {
    programmedChannel = channel;
    const int result = programming(Call::FunctionMode, [=, this] { return library->setFunctionMode(channel, mode); });
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
    const int result = programming(Call::Other, [=, this] { return library->programChannel(channel); });
    programmed = set && isSuccess(result);
    return result;
}

/// The receiver's own pattern, during a calibration, replaces an ordered one.
int PatternTransmitter::setTestMode(unsigned channel, unsigned block, unsigned mode) {
    set = false;
    return programming(Call::TestMode, [=, this] { return library->setTestMode(channel, block, mode); });
}

int PatternTransmitter::closeChannel(unsigned channel) {
    return library->closeChannel(channel);
}

int PatternTransmitter::enablePort(unsigned channel) {
    return programming(Call::Other, [=, this] { return library->enablePort(channel); });
}

int PatternTransmitter::flushBuffer(unsigned channel) {
    return library->flushBuffer(channel);
}

int PatternTransmitter::shutdownPort(unsigned channel) {
    return library->shutdownPort(channel);
}

int PatternTransmitter::applyFrequency(unsigned channel, unsigned setting) {
    return programming(Call::Other, [=, this] { return library->applyFrequency(channel, held.value_or(setting)); });
}

int PatternTransmitter::setExportFrameSize(unsigned channel, unsigned size) {
    return programming(Call::Other, [=, this] { return library->setExportFrameSize(channel, size); });
}

int PatternTransmitter::getNumFrequencySettings(unsigned channel, unsigned* count) {
    const int result = library->getNumFrequencySettings(channel, count);
    if (held && isSuccess(result)) {
        *count = 1;
    }
    return result;
}

int PatternTransmitter::allocatePin(unsigned channel, unsigned mode, unsigned bit, unsigned emuPin, unsigned reserved) {
    return programming(Call::Other, [=, this] { return library->allocatePin(channel, mode, bit, emuPin, reserved); });
}

int PatternTransmitter::setStallCpu(unsigned channel, bool flag) {
    return programming(Call::Other, [=, this] { return library->setStallCpu(channel, flag); });
}

int PatternTransmitter::releasePin(unsigned channel, unsigned emuPin, unsigned reserved) {
    return programming(Call::ReleasePin, [=, this] { return library->releasePin(channel, emuPin, reserved); });
}

int PatternTransmitter::setPortWidth(unsigned channel, unsigned dataPins) {
    return programming(Call::Other, [=, this] { return library->setPortWidth(channel, dataPins); });
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
    return programming(Call::Other, [=, this] { return library->setCycleAccurate(channel, flag); });
}

int PatternTransmitter::setMonitorCprt(unsigned channel, bool flag) {
    return programming(Call::Other, [=, this] { return library->setMonitorCprt(channel, flag); });
}

int PatternTransmitter::setNoDataTraceOnFifoFull(unsigned channel, bool flag) {
    return programming(Call::Other, [=, this] { return library->setNoDataTraceOnFifoFull(channel, flag); });
}

/// The last call before the receiver sets up the unit, and the first after it has closed the channel.
int PatternTransmitter::getTransmitterKind(unsigned channel, unsigned* kind) {
    const int result = library->getTransmitterKind(channel, kind);
    if (setUpPattern && isSuccess(result)) {
        repeatProgramming(*setUpPattern);
    }
    return result;
}

int PatternTransmitter::setOption(unsigned channel, unsigned value) {
    return programming(Call::Other, [=, this] { return library->setOption(channel, value); });
}

int PatternTransmitter::enablePins(unsigned channel) {
    return programming(Call::Last, [=, this] { return library->enablePins(channel); });
}

} // namespace host
