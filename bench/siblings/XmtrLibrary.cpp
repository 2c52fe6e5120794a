#include "bench/siblings/XmtrLibrary.h"

#include <cstdio>
#include <cstdlib>

namespace bench {

using namespace xmtr_result;

XmtrLibrary::XmtrLibrary(Scenario chosen, std::string portFile)
    : scenario(std::move(chosen)),
      program(scenario.kind, static_cast<unsigned>(scenario.transmitter.frequencies.size())),
      side(std::move(portFile)) {}

XmtrLibrary::~XmtrLibrary() = default;

bool XmtrLibrary::scriptedToFail(const char* operation) {
    const unsigned count = ++calls[operation];
    for (const std::string& entry : scenario.transmitter.fail) {
        const std::size_t colon = entry.find(':');
        if (entry.substr(0, colon) != operation) {
            continue;
        }
        if (colon == std::string::npos || std::strtoul(entry.c_str() + colon + 1, nullptr, 10) == count) {
            return true;
        }
    }
    return false;
}

template <class Work>
int XmtrLibrary::call(const char* operation, Work&& work) try {
    const std::lock_guard<std::mutex> lock(mutex);
    if (scriptedToFail(operation)) {
        std::fprintf(stderr, "bench: %s fails as the scenario says\n", operation);
        return scripted;
    }
    const int result = work();
    if (result == noBench) {
        std::fprintf(stderr, "bench: %s: %s\n", operation, side.lastError().c_str());
    } else if (result > 2) {
        std::fprintf(stderr, "bench: %s refused: %s\n", operation, program.reason().c_str());
    }
    return result;
} catch (const std::exception& error) { // out of memory, most likely
    std::fprintf(stderr, "bench: %s: %s\n", operation, error.what());
    return noMemory;
}

int XmtrLibrary::send(const std::string& line) {
    return side.request(line) ? done : noBench;
}

int XmtrLibrary::closeChannel(unsigned) {
    return call("closeChannel", [] { return done; });
}

int XmtrLibrary::programChannel(unsigned) {
    return call("programChannel", [this] { return program.programChannel(); });
}

int XmtrLibrary::enablePort(unsigned) {
    return call("enablePort", [this] { return program.enablePort(); });
}

int XmtrLibrary::enablePins(unsigned) {
    return call("enablePins", [this] {
        const int result = program.enablePins();
        return result == done ? send(program.request()) : result;
    });
}

int XmtrLibrary::flushBuffer(unsigned) {
    return call("flushBuffer", [this] { return send("flush"); });
}

int XmtrLibrary::shutdownPort(unsigned) {
    return call("shutdownPort", [this] {
        program.shutdown();
        return send("shutdown");
    });
}

int XmtrLibrary::applyEnd(unsigned, bool flag) {
    return call("applyEnd", [this, flag] { return send(flag ? "end 1" : "end 0"); });
}

int XmtrLibrary::setTestMode(unsigned, unsigned block, unsigned mode) {
    return call("setTestMode", [=, this] { return program.setTestMode(block, mode); });
}

int XmtrLibrary::setFunctionMode(unsigned, unsigned mode) {
    return call("setFunctionMode", [=, this] { return program.setFunctionMode(mode); });
}

int XmtrLibrary::applyFrequency(unsigned, unsigned setting) {
    return call("applyFrequency", [=, this] { return program.applyFrequency(setting); });
}

int XmtrLibrary::allocatePin(unsigned, unsigned mode, unsigned bit, unsigned emuPin, unsigned) {
    return call("allocatePin", [=, this] { return program.allocatePin(mode, bit, emuPin); });
}

int XmtrLibrary::releasePin(unsigned, unsigned emuPin, unsigned) {
    return call("releasePin", [=, this] { return program.releasePin(emuPin); });
}

int XmtrLibrary::setPortWidth(unsigned, unsigned dataPins) {
    return call("setPortWidth", [=, this] { return program.setPortWidth(dataPins); });
}

int XmtrLibrary::getNumFrequencySettings(unsigned, unsigned* count) {
    return call("getNumFrequencySettings", [=, this] {
        *count = static_cast<unsigned>(scenario.transmitter.frequencies.size());
        return done;
    });
}

int XmtrLibrary::getExportFrameLimits(unsigned, unsigned* value, unsigned* size) {
    return call("getExportFrameLimits", [=] {
        *value = 0;
        *size = frameSize;
        return done;
    });
}

int XmtrLibrary::setExportFrameSize(unsigned, unsigned size) {
    return call("setExportFrameSize", [=] { return size == frameSize ? done : badArgument; });
}

int XmtrLibrary::getTraceStatus(unsigned, std::uint32_t* status) {
    return call("getTraceStatus", [=, this] {
        const auto answer = side.request("status");
        if (!answer) {
            return noBench;
        }
        const auto now = static_cast<std::uint32_t>(std::strtoul(answer->c_str(), nullptr, 0));
        clearedStatus &= now; // a bit that reads 0 may be set again
        *status = now & ~clearedStatus;
        return done;
    });
}

int XmtrLibrary::clearTraceStatus(unsigned, std::uint32_t status) {
    return call("clearTraceStatus", [=, this] {
        clearedStatus |= status;
        return done;
    });
}

int XmtrLibrary::getCharacter(unsigned, std::uint32_t* value) {
    constexpr std::uint32_t flushesAtTrigger = 8;
    return call("getCharacter", [=] {
        *value = flushesAtTrigger;
        return done;
    });
}

int XmtrLibrary::getTransmitterKind(unsigned, unsigned* kind) {
    return call("getTransmitterKind", [=, this] {
        switch (scenario.kind) {
        case ExportKind::Pti:
            *kind = kindPti;
            break;
        case ExportKind::Tpiu:
            *kind = kindTpiu;
            break;
        case ExportKind::TpiuLite:
            *kind = kindTpiuLite;
            break;
        }
        return done;
    });
}

int XmtrLibrary::setOption(unsigned, unsigned value) {
    return call("setOption", [=] { return value == 0 ? done : badArgument; });
}

int XmtrLibrary::setStallCpu(unsigned, bool) {
    return call("setStallCpu", [] { return done; });
}

int XmtrLibrary::setCycleAccurate(unsigned, bool) {
    return call("setCycleAccurate", [] { return done; });
}

int XmtrLibrary::setMonitorCprt(unsigned, bool) {
    return call("setMonitorCprt", [] { return done; });
}

int XmtrLibrary::setNoDataTraceOnFifoFull(unsigned, bool) {
    return call("setNoDataTraceOnFifoFull", [] { return done; });
}

} // namespace bench
