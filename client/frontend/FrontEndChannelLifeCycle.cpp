#include "client/frontend/ChannelLog.h"
#include "client/frontend/FrontEndChannel_1.h"
#include "common/source/Exception.h"
#include "common/source/source_utilities/uLog.h"
#include "common/source/source_utilities/uString.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>
#include <string>

namespace VX_QRS::ORV::CLIENT {

namespace {

/// Of the control thread, in milliseconds.
constexpr std::uint32_t passInterval = 5;

/// How long an end that was asked for is waited for before it is asked for again, in milliseconds.
constexpr std::uint32_t endInterval = 50;

/// The unit is asked for whole blocks only.
constexpr std::uint32_t requestGranularity = 16384;

constexpr std::uint32_t samplesDepth = 512; // words in a proc's FIFO

/// The text of an exception, never empty.
const char* textOf(const std::exception& e) {
    return e.what() != nullptr && *e.what() != '\0' ? e.what() : "unknown exception";
}

} // namespace

void FrontEndChannel_1::applySettings() {
    logEntry(frontEndUnit, "VX_QRS::ORV::CLIENT::FrontEndChannel_1::applySettings");
    terminateThread(); // before the lock: the thread needs the lock to end
    uMutexLock lock(*mutex);
    if (control.state == Recording) {
        fail(frontEndUnit, eSEQUENCE, "cannot apply settings while recording, stop recording first");
    }
    close();
    // The parser forgets what it holds before it reads, so it must not be given its own text.
    const char* path = parser->getFileName();
    const std::string copy = path == nullptr ? "" : path;
    parser->readFile(path == nullptr ? nullptr : copy.c_str());
    const auto applySection = [this](const std::string& section) {
        parser->setSection(section.c_str());
        parser->apply(this);
        parser->apply(transmitter);
    };
    applySection("Global");
    applySection("Channel " + std::to_string(channelNumber));
    open();
}

void FrontEndChannel_1::open() {
    if (session.opened) {
        return;
    }
    const std::vector<std::uint32_t>& sizes = limits.orvBufSizes;
    if (std::find(sizes.begin(), sizes.end(), settings.orvBufSize) == sizes.end()) {
        fail(frontEndUnit, eCONFIG, "invalid orv buffer size");
    }
    if (channelNumber == 0) {
        frontEnd->applySettings();
    }
    transmitter->applySettings();
    const char* kind = nullptr;
    transmitter->getProperty("drmXmtr", &kind);
    if (kind != nullptr && *kind != '\0') {
        settings.drmXmtr = kind;
    }
    applyPinSettings();
    if (settings.drmXmtr != "pti" && settings.drmXmtr != "tpiulite" && settings.drmXmtr != "tpiu") {
        fail(frontEndUnit, eCONFIG, "invalid channel type: " + settings.drmXmtr);
    }
    oversampling.ovsDepth = samplesDepth;
    allocSelf();
    try {
        convertLists();
    } catch (...) {
        freeSelf();
        throw;
    }
    session.opened = true;
}

/// Entry i of each list is the setting of proc i. Entries past the last proc are converted and ignored.
void FrontEndChannel_1::convertLists() {
    Cal& cal = calibration.cal;
    const auto convert = [&cal](const std::vector<std::string>& items, auto ProcCal::* field) {
        for (std::size_t i = 0; i < items.size(); ++i) {
            using Number = std::remove_reference_t<decltype(cal.proc[0].*field)>;
            const Number value = uString::toNumber<Number>(items[i]);
            if (i < cal.proc.size()) {
                cal.proc[i].*field = value;
            }
        }
    };
    convert(settings.delays, &ProcCal::delay);
    convert(settings.stretches, &ProcCal::stretch);
    convert(settings.plateaus, &ProcCal::plateau);
    convert(settings.debounces, &ProcCal::debounce);
    convert(settings.filters, &ProcCal::filter);
}

void FrontEndChannel_1::close() {
    if (!session.opened) {
        return;
    }
    session.opened = false;
    frontEnd->getDataClient()->closeChannel(session.dataChannel);
    session.dataChannel = nullptr;
    freeSelf();
}

void FrontEndChannel_1::start(bool) {
    logEntry(frontEndUnit, "VX_QRS::ORV::CLIENT::FrontEndChannel_1::start");
    uMutexLock lock(*mutex);
    do {
        if (control.state == Recording) {
            logStep(here(), "already recording, call ignored");
            // Callers have come to rely on what a second start does: this one level stays with the calling thread, and
            // the control thread waits from its next pass on.
            mutex->lock();
            return;
        }
        if (control.state < Calibrated) {
            fail(frontEndUnit, eSEQUENCE, "cannot start recording until calibration completed");
        }
    } while (endEarlierThread());
    const bool earlierDone = control.threadDone;
    const bool blocked = hasThread(); // an earlier thread waits for a level of the mutex that the caller keeps
    if (settings.archive != 0 && control.state != Calibrated) {
        rotateDataFile();
    }
    try {
        internalStart(settings.orvBufSize, settings.orvBufMode, settings.testPattern.c_str(),
                      {.prepare = true, .enableTransmitter = true, .bypassProtocol = false});
        logStep(here(), "starting collection thread");
        // Opened before the thread runs, so that no reader finds the earlier recording once start has returned.
        if (!control.dataFile.isOpen()) {
            openDataFile();
        }
    } catch (...) {
        control.threadDone = earlierDone;
        throw;
    }
    control.threadLives = true;
    if (!thread->start() && !blocked) {
        control.threadLives = false;
        closeDataFile();
        signalStop(Failed, "failed to start collection thread");
        control.threadDone = earlierDone;
    }
}

bool FrontEndChannel_1::hasThread() const {
    return thread->threadId() != 0 && !thread->wait(0);
}

bool FrontEndChannel_1::endEarlierThread() {
    // With a deeper level held, the thread could not end while this one waits.
    if (!hasThread() || thread->isCurrent() || mutex->levels() != 1) {
        return false;
    }
    control.exitThread = true;
    mutex->unlock();
    waitForThread();
    mutex->lock();
    return true;
}

void FrontEndChannel_1::internalStart(std::uint32_t bufferSize, const std::string& bufferMode, const char* program,
                                      StartSteps steps) {
    DataClient* client = frontEnd->getDataClient();
    if (steps.prepare) {
        if (steps.enableTransmitter) {
            transmitter->shutdown();
            transmitter->reset();
            logStep(here(), "shutdown transmitter");
        }
        session.orvBufHasWrapped = false;
        client->closeChannel(session.dataChannel);
        logStep(here(), "callsed ds_close");
        session.dataChannel = client->openChannel(bufferSize, bufferMode == "stop" ? 0 : 1, this);
        // A recording never starts on stale data.
        session.dataChannel->cancel();
        session.dataChannel->flush();
        const std::uint32_t clockRegister = disableClock();
        flushStm();
        clearOvsError();
        initializeThreadState();
        session.dataChannel->start();
        logStep(here(), "called ds_start");
        programRecordingRegisters(steps.bypassProtocol, clockRegister);
        logRegs();
    }
    if (steps.enableTransmitter) {
        // After the capture side, so that the first word sent is seen.
        logStep(here(), "enabling transmitter");
        transmitter->program(program, clocking.frequencySetting);
        if (clocking.frequencySetting < clocking.frequencies.size()) {
            clocking.exportFrequency = clocking.frequencies[clocking.frequencySetting];
            applyFrequencyChange(clocking.exportFrequency);
        }
    }
}

void FrontEndChannel_1::initializeThreadState() {
    control.state = Recording;
    counters.bytesReady = 0;
    counters.bytesUnsent = 0;
    counters.bytesPending = 0;
    counters.bytesTotal = 0;
    publishCounters();
    control.hasError = false;
    control.exitThread = false;
    control.threadDone = false;
    control.dataFileRefused = false;
    control.verifyTimeoutTicks = 0;
    control.errorText.clear();
    std::remove((stem() + ".trg.txt").c_str());
}

void FrontEndChannel_1::internalStop(StopSteps steps) {
    if (steps.stopTransmitter) {
        constexpr bool traceEnds = true;
        transmitter->end(traceEnds);
        transmitter->flush();
        try {
            transmitter->shutdown();
            logStep(here(), "shutdown transmitter");
        } catch (...) {
            // The data are on the unit by now; a port that stays open is no reason to lose them.
            logStepError(here(), "failed shutting down port");
        }
    }
    if (steps.stopCapture) {
        disableClock();
        flushStm();
        logStep(here(), "calling ds_stop");
        session.dataChannel->stop();
        readBytesReady();
        logStep(here(), "ds_status after final flush returned %u bytes ready", counters.bytesReady);
    }
    const std::uint32_t status = readRegister(registers::kindUnit, registers::bufferStatus);
    if ((status & registers::bufferStatusWrapped) != 0) {
        session.orvBufHasWrapped = true;
        logStep(here(), "wrap detected");
    }
}

void FrontEndChannel_1::readBytesReady() {
    session.dataChannel->status(&counters.bytesReady);
    counters.bytesUnsent = counters.bytesReady;
    publishCounters();
}

void FrontEndChannel_1::stop() {
    logEntry(frontEndUnit, "VX_QRS::ORV::CLIENT::FrontEndChannel_1::stop");
    signalStop(Stopped, nullptr);
}

void FrontEndChannel_1::endTransmission(bool flag) {
    logEntry(frontEndUnit, "VX_QRS::ORV::CLIENT::FrontEndChannel_1::endTransmission");
    uMutexLock lock(*mutex);
    transmitter->end(flag);
}

void FrontEndChannel_1::signalStop(std::int32_t requested, const char* text) {
    uMutexLock lock(*mutex);
    try {
        logStep(here(), "current state=%d, requested state=%d", control.state.load(), requested);
        if (requested == Failed) {
            recordError(text);
        }
        if (control.state == Recording && (requested == Failed || requested == Idle || requested == Stopped)) {
            control.state = requested;
        }
    } catch (...) {
        // The caller reports the end of a recording and cannot handle a failure to do so.
    }
}

/// The first error wins and ends the thread.
void FrontEndChannel_1::recordError(const char* text) {
    if (text != nullptr) {
        logStepError(here(), "channel error : %s", text);
    } else {
        text = "channel error";
        logStepError(here(), "channel error");
    }
    if (control.hasError) {
        return;
    }
    try {
        control.errorText = text;
        control.publishedError = control.publishedTexts.emplace(text).first->c_str();
    } catch (const std::bad_alloc&) {
        // The recording has to end all the same, or the thread would fail again at every pass.
        control.publishedError = "out of memory";
    }
    control.hasError = true;
    control.exitThread = true;
}

void FrontEndChannel_1::terminateThread() {
    do {
        control.exitThread = true;
    } while (!waitForThread());
}

/// Waits for the thread's end, but not for long: a start on another thread may have taken the request to end back and
/// have a thread of its own running. True when no thread is left, and at once on the thread itself.
bool FrontEndChannel_1::waitForThread() {
    return thread->wait(endInterval) || thread->threadId() == 0 || thread->isCurrent();
}

void FrontEndChannel_1::run() {
    controlLoop();
    control.threadLives = false;
    control.threadDone = true; // last: a caller that sees it may delete the channel
}

void FrontEndChannel_1::controlLoop() {
    logEntry(frontEndUnit, "VX_QRS::ORV::CLIENT::FrontEndChannel_1::run");
    Run run;
    if (!control.dataFile.isOpen()) {
        // The lock is not taken: a thread that keeps it must not keep an old file in place.
        run.settled = control.dataFileRefused || !openDataFileGuarded();
    }
    while (!control.exitThread) {
        pass(run);
        frontEnd->waits().sleep(passInterval);
    }
    cancelAfterLoop(run);
    closeDataFile();
}

void FrontEndChannel_1::pass(Run& run) {
    uMutexLock lock(*mutex);
    try {
        readBytesReady();
        if (control.state == Recording) {
            pollRecording();
        } else {
            drain(run);
        }
        if (control.verifyTimeoutTicks != 0) {
            if (run.ticks > control.verifyTimeoutTicks) {
                signalStop(Failed, "timeout during calibration verification");
            }
            ++run.ticks;
        }
        if (control.exitThread) {
            run.settled = true;
            cancelRest();
        }
    } catch (const std::exception& e) {
        run.settled = true;
        signalStop(Failed, textOf(e));
    } catch (...) {
        run.settled = true;
        signalStop(Failed, "unknown exception");
    }
}

/// The part of a pass that watches a running recording.
void FrontEndChannel_1::pollRecording() {
    checkTriggerFile();
    if (const std::uint32_t error = readOvsError(); error != 0) {
        std::string text = "orv receiver error ";
        signalStop(Failed, uString::toText(error, text, appended));
    }
    if (settings.ovsMargin != 0) {
        captureOvs();
        verifyOvsMargin(calibration.cal, settings.ovsMargin);
    }
}

/// The part of a pass that closes the capture, once, and then uploads what the unit holds, one request at a time.
void FrontEndChannel_1::drain(Run& run) {
    if (run.firstStop) {
        run.firstStop = false;
        run.ticks = 0;
        internalStop({.stopCapture = true, .stopTransmitter = true});
    }
    if (counters.bytesReady == 0) {
        logStep(here(), "no more data in orv buffer, setting exit to true");
        control.exitThread = true;
        return;
    }
    if (counters.bytesPending == 0) {
        const std::uint32_t wanted = counters.bytesReady & ~(requestGranularity - 1);
        counters.bytesPending = wanted;
        logStep(here(), "calling ds_request for %u bytes", wanted);
        session.dataChannel->request(wanted);
    }
}

void FrontEndChannel_1::cancelRest() {
    if (counters.bytesPending == 0 && counters.bytesReady == 0) {
        return;
    }
    logStep(here(), "calling ds_cancel, %u bytes on orv, %u bytes pending", counters.bytesReady, counters.bytesPending);
    session.dataChannel->cancel();
}

/// No pass has seen a request to end that came between two passes.
void FrontEndChannel_1::cancelAfterLoop(const Run& run) {
    if (run.settled) {
        return;
    }
    uMutexLock lock(*mutex);
    try {
        cancelRest();
    } catch (const std::exception& e) {
        signalStop(Failed, textOf(e));
    } catch (...) {
        signalStop(Failed, "unknown exception");
    }
}

void FrontEndChannel_1::status(ChannelMetrics& out) {
    out = ChannelMetrics{};
    if (calibration.calInProgress) {
        out.progress = calibration.calProgress;
        out.state = Calibrating;
        return;
    }
    if (control.state == Recording) {
        out.progress = 1.0;
        // Asking keeps the transmitter's own handling of the trigger going; the recording ends by other means.
        if (transmitter->hasTriggered()) {
            signalStop(Triggered, nullptr);
        }
    }
    const Counters::Progress progress = counters.published;
    out.bytesReady = progress.unsent;
    out.bytesTotal = progress.total;
    out.state = control.state;
    out.hasError = control.hasError;
    out.threadDone = control.threadDone;
    out.threadAbsent = !control.threadLives;
    if (out.hasError) {
        out.errorText = control.publishedError;
    }
    out.wordClockFrequency = clocking.wordClockFrequency;
    out.exportFrequency = clocking.exportFrequency;
    out.dataFrequency = clocking.dataFrequency;
    out.dataRate = clocking.dataRate;
}

} // namespace VX_QRS::ORV::CLIENT
