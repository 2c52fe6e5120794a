#include "client/analysis/Burst.h"
#include "client/frontend/ChannelLog.h"
#include "client/frontend/FrontEndChannel_1.h"
#include "common/source/Exception.h"
#include "common/source/source_utilities/uString.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>
#include <string>

namespace VX_QRS::ORV::CLIENT {

void FrontEndChannel_1::allocSelf() {
    const std::uint32_t depth = oversampling.ovsDepth;
    try {
        for (std::uint32_t p = 0; p < analysis::usedPins(settings.numPins); ++p) {
            oversampling.ovsWords[p].assign(depth, 0);
            oversampling.ovsAccess[p].assign(depth, RegisterAccess{registers::kindUnit, 0, 0});
        }
        calibration.cal = Cal(registers::maxProcs);
        calibration.metrics = Metrics(registers::maxProcs);
    } catch (const std::bad_alloc&) {
        // What is there so far stays; the next opening takes it over.
        fail(frontEndUnit, eALLOC, "host buffer allocation failed");
    }
}

void FrontEndChannel_1::freeSelf() {
    for (std::uint32_t p = 0; p < registers::maxProcs; ++p) {
        std::vector<RegisterAccess>().swap(oversampling.ovsAccess[p]);
        std::vector<std::uint16_t>().swap(oversampling.ovsWords[p]);
    }
}

/// Keeps the last recording under a number of its own, as long as the budget lasts.
void FrontEndChannel_1::rotateDataFile() {
    const std::string from = stem() + ".bin";
    std::string to = stem();
    uString::toText(settings.archive, to, appended, ".%d.bin");
    --settings.archive;
    std::rename(from.c_str(), to.c_str());
}

void FrontEndChannel_1::sync() {
    using namespace registers;
    const RegisterAccess pulse[] = {{kindUnit, command, 0}, {kindUnit, command, commandSync}, {kindUnit, command, 0}};
    frontEnd->getDataClient()->write(pulse, static_cast<std::uint32_t>(std::size(pulse)));
}

bool FrontEndChannel_1::openDataFile() {
    const std::string path = stem() + ".bin";
    control.dataFile = OutputFile(path, OutputFile::Mode::binary);
    if (!control.dataFile.isOpen()) {
        control.dataFileRefused = true;
        signalStop(Failed, ("failed to open " + path).c_str());
        logStepError(here(), "failed to open thread data file %s", path.c_str());
        return false;
    }
    logStep(here(), "opened data file %s", path.c_str());
    return true;
}

bool FrontEndChannel_1::openDataFileGuarded() {
    try {
        return openDataFile();
    } catch (const std::exception& e) {
        signalStop(Failed, e.what());
        return false;
    }
}

void FrontEndChannel_1::closeDataFile() {
    if (!control.dataFile.isOpen()) {
        return;
    }
    control.dataFile.flush();
    control.dataFile.close();
    logStep(here(), "closed data file");
}

void FrontEndChannel_1::onData(const void* data, std::uint32_t size) {
    if (!control.dataFile.isOpen() || size > counters.bytesPending) {
        const std::string text =
            "software error : data received from orv before host storage was ready : " + std::to_string(size) +
            " bytes of data lost";
        signalStop(Failed, text.c_str());
        return;
    }
    counters.bytesPending -= size;
    counters.bytesTotal += size;
    counters.bytesUnsent -= std::min(size, counters.bytesUnsent);
    logStep(here(), "writing %u bytes, %u pending, %u total", size, counters.bytesPending, counters.bytesTotal);
    // A full disk is not looked for here: the upload has to come to its end all the same, or the unit stays blocked.
    if (size != 0) {
        control.dataFile.write(data, size);
    }
    publishCounters();
}

void FrontEndChannel_1::publishCounters() {
    counters.published = Counters::Progress{counters.bytesUnsent, counters.bytesTotal};
}

void FrontEndChannel_1::onError(std::uint32_t code, const char* first, const char* second) {
    std::string text = "data server error (" + std::to_string(code) + ")";
    if (first != nullptr) {
        text += std::string(" : ") + first;
    }
    if (second != nullptr && *second != '\0') {
        text += std::string(" : ") + second;
    }
    signalStop(Failed, text.c_str());
}

void FrontEndChannel_1::onStatus(std::uint32_t value) {
    // The unit has stopped by itself: its buffer is full.
    if (value == 0) {
        signalStop(Idle, nullptr);
    }
}

} // namespace VX_QRS::ORV::CLIENT
