#pragma once

#include "client/FrontEndChannel.h"
#include "client/Transmitter.h"
#include "client/analysis/Burst.h"
#include "client/analysis/Cal.h"
#include "client/analysis/Metrics.h"
#include "client/frontend/FrontEnd_1.h"
#include "client/frontend/Registers.h"
#include "common/source/properties/ChannelProperties.h"
#include "common/source/source_utilities/OutputFile.h"
#include "common/source/source_utilities/PropertyParser.h"
#include "common/source/source_utilities/SourceLocation.h"
#include "common/source/source_utilities/uMutex.h"
#include "common/source/source_utilities/uRunnable.h"
#include "common/source/source_utilities/uThread.h"
#include "mpx/MpxEcomServer/DataClient.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace VX_QRS::ORV::CLIENT {

/// The capture channel. Failures are thrown as Exception of the source unit `orv_client_frontend`.
///
/// Locks: `mutex`, recursive, is held by calibrate for its whole run and by the control thread for each pass; the data
/// client's lock nests inside it. Public operations that need it take it; private members expect it held unless they
/// say otherwise. Data client callbacks come on the thread that made the request, inside it.
class FrontEndChannel_1 final : public FrontEndChannel, public uRunnable, public DataClient::Callback {
public:
    /// `setup` is the record of settings that the transmitter was made with for this channel; it is only compared.
    FrontEndChannel_1(FrontEnd_1* frontEnd, Transmitter* transmitter, const ChannelSettings* setup = nullptr);
    ~FrontEndChannel_1() override;
    FrontEndChannel_1(const FrontEndChannel_1&) = delete;
    FrontEndChannel_1& operator=(const FrontEndChannel_1&) = delete;

    void setProperty(const char* name, const char* value) override;
    void getProperty(const char* name, const char** value) override;
    void applySettings() override;
    void calibrate() override;
    void start(bool flag) override;
    void stop() override;
    void endTransmission(bool flag) override;
    void status(ChannelMetrics& out) override;
    std::uint32_t ovs(bool capture, bool clearError) override;

    /// The control thread's body; calibration runs it on its own thread for the verification recording.
    void run() override;

    void onData(const void* data, std::uint32_t size) override;
    void onError(std::uint32_t code, const char* first, const char* second) override;
    void onStatus(std::uint32_t value) override;

    std::uint32_t getChannelNumber() const { return channelNumber; }

    /// Lets tests reach the members below; defined by them only.
    friend struct ChannelInspector;

private:
    // ---- FrontEndChannelProperties.cpp ----
    struct Properties; // the property table
    void computeOrvBufSizes();
    void setBufferSize(const char* value);
    void setPropsFile(const char* value);
    void setPinMap(const char* value);

    // ---- FrontEndChannelLifeCycle.cpp ----
    void open();
    void close();
    struct StartSteps {
        bool prepare;           ///< open the stream and program the capture side
        bool enableTransmitter; ///< program the transmitter
        bool bypassProtocol;    ///< record words as sampled, without the protocol of the export
    };
    void internalStart(std::uint32_t bufferSize, const std::string& bufferMode, const char* program, StartSteps steps);
    struct StopSteps {
        bool stopCapture;
        bool stopTransmitter;
    };
    void internalStop(StopSteps steps);
    void initializeThreadState();
    void signalStop(std::int32_t requested, const char* text); // takes the mutex; from any thread
    void terminateThread();                                    // without the mutex: the thread needs it to end
    bool waitForThread();
    /// Whether a control thread has been started and not ended.
    bool hasThread() const;
    /// Ends the last recording's thread if it still runs. Expects the mutex held and releases it meanwhile, since the
    /// thread needs it to end. True when it was released: the caller has to check the state again.
    bool endEarlierThread();
    void controlLoop(); // the thread's body; a verification runs it on the calling thread
    struct Run {
        bool firstStop = true;   // the capture is still to be closed
        std::uint32_t ticks = 0; // passes, for the time limit of a verification
        bool settled = false;    // nothing is left to cancel after the loop
    };
    void pass(Run& run);
    void pollRecording();
    void drain(Run& run);
    void cancelRest();
    void cancelAfterLoop(const Run& run);
    void readBytesReady();
    void recordError(const char* text);
    void convertLists();

    // ---- FrontEndChannelDataPath.cpp ----
    void allocSelf();
    void freeSelf();
    void rotateDataFile();
    void sync();
    bool openDataFile();        // no lock; a file that cannot be opened is signalled
    bool openDataFileGuarded(); // the same, and nothing is thrown
    void closeDataFile();
    void publishCounters();

    // ---- FrontEndChannelRegisters.cpp ----
    bool applyPinSettings();
    void setupPins(Cal& target);
    std::uint32_t disableClock();
    void flushStm();
    void waitForCommsIdle(unsigned polls);
    std::uint32_t convertPeriod(std::uint32_t words, std::uint32_t low, std::uint32_t high) const;
    void programRecordingRegisters(bool bypassProtocol, std::uint32_t clockRegister);
    std::uint32_t readRegister(std::uint32_t kind, std::uint32_t address);
    void writeRegister(std::uint32_t kind, std::uint32_t address, std::uint32_t value);
    void writeLogged(const char* what, std::uint32_t address, std::uint32_t value,
                     const SourceLocation& location = SourceLocation::current());

    // ---- FrontEndChannelCalibration.cpp ----
    void autoCal(Metrics& results, Cal& target, std::uint32_t startSetting);
    void attemptCal(Metrics& results, const Cal& start, Cal& work);
    void commit(Metrics& results, Cal& work);
    void manualCal(Cal& target);
    void assertCal(const Cal& target) const;
    void writeCal(const Cal& target);
    void readCal(Cal& target);
    void applyFrequencyChange(double frequency);
    void computeFreqBasedCal(Cal& target) const;
    void getCalFromMetrics(const Metrics& results, Cal& target) const;

    // ---- FrontEndChannelFrequency.cpp ----
    double measureFreq();
    void measureAndVerifyFreq();
    void findAllFrequencySettings(Metrics& results, Cal& target);
    void findStartFrequencySetting(std::uint32_t& setting) const;

    // ---- FrontEndChannelOversampling.cpp ----
    void captureOvs();
    void clearOvs();
    void triggerOvs();
    void readOvs();
    void readOvsStats(OvsStats& stats);
    void clearOvsError();
    std::uint32_t readOvsError();

    // ---- FrontEndChannelMargins.cpp: members that hand the burst to the analysis functions ----
    /// The burst captured last, as the analysis functions take it; refers to the host buffers.
    analysis::Burst burst() const;
    void detectSamplingPosition();
    void stretch(Metrics& m);
    void align(Metrics& m, std::uint32_t strategy);
    void alignDataWithClock(Metrics& m);
    void alignDataWithData(Metrics& m);
    void findMargin(Metrics& m);
    void adjustClockDelay(Metrics& m);
    void computeOvsDataCorrelation(Metrics& m);
    void formatDelaysForFpga(Metrics& m);
    double findPeakCorrelation(const ProcMetrics& p, std::int32_t& delay, std::uint32_t range) const;
    void verifyOvsMargin(const Cal& target, std::int32_t margin);

    // ---- FrontEndChannelVerification.cpp ----
    void verifyCal();

    // ---- FrontEndChannelDiagnostics.cpp ----
    /// Stem of the files written now: the running attempt's, otherwise the setting `file`.
    const std::string& stem() const;
    void deleteDiagnosticFiles();
    void logCal(const Metrics& results, const Cal& target);
    void logOvs(const Cal& target, const char* suffix = nullptr);
    void logRegs();
    void formatMetrics(std::string& text) const;
    void correlationString(const ProcMetrics& p, std::string& text) const;
    void checkTriggerFile();

    /// What the user asked for. Written by setProperty on the controlling thread (and by calibrate, which sets `file` to
    /// the stem it began with, detects `samplingPos`, and fixes `calMode` and `verifyPattern` for some kinds of export);
    /// acted on at the next applySettings, calibrate or start.
    struct Settings {
        std::string file; ///< stem of the data file and of all diagnostic files; see stem()
        std::vector<std::string> delays, stretches, plateaus, debounces, filters; ///< per pin; converted by open
        std::int32_t ovsMargin = 0;                 ///< not 0: margins are watched while recording
        double frequencyLimit = 0.0;                ///< Hz; 0 for none
        std::string testPattern = "none";           ///< transmitter program of a recording
        std::string verifyPattern = "verification"; ///< transmitter program of the calibration check
        std::string samplingPos = "detect";
        std::string calMode = "automatic";
        std::string drmXmtr;             ///< kind of trace export
        std::string targetSync = "true"; ///< read back by the channel driver
        std::string orvBufMode = "stop";
        std::string pinMap;                  ///< EMU pins, clock first
        std::uint32_t numPins = 0;           ///< counting the clock
        std::uint32_t startPort = 0;         ///< stored and not acted on
        std::uint32_t orvBufSize = 0x400000; ///< bytes
        std::uint32_t referencePin = 1;
        std::uint32_t archive = 0;        ///< how many older recordings may still be kept
        std::uint32_t deskewStrategy = 1; ///< 0 "clock", 1 "data"
        bool verifyCalEnabled = true;
        std::uint32_t cpi = 1000000;             ///< length of the frequency measurement
        std::uint32_t stmTimeoutPeriod = notSet; ///< words
        std::uint32_t stmSyncPeriod = notSet;    ///< words
        bool stmClockTimeoutEnable = true;
        bool stmZeroTimeoutEnable = true;
        bool stmPeriodicSyncEnable = false;
        bool stmDiagnosticTimingEnable = false;
        bool stm32BitDataLimit = false;
    };

    /// Fixed limits and the values derived from them; constant after construction.
    struct BufferLimits {
        std::uint32_t orvBufSizeMin = smallestBufferBytes;
        std::uint32_t orvBufSizeMax = largestBufferBytes;
        std::vector<std::uint32_t> orvBufSizes; ///< the legal buffer sizes, ascending
    };

    /// Results of the last open, recording and attempts. Written by the controlling thread under the mutex.
    struct Session {
        bool opened = false;
        DataClient::Channel* dataChannel = nullptr; ///< the data client's; set by each start
        std::vector<std::uint32_t> rcvrPins;        ///< receiver input of each pin, clock first
        std::vector<std::uint32_t> emuPins;         ///< EMU pin of each pin, clock first
        std::atomic<bool> orvBufHasWrapped{false};  ///< result of the last recording; read without the mutex
        bool keepFiles = false;                     ///< diagnostic files survive the object
        std::string propertyText;                   ///< storage of the text that getProperty returned
        std::vector<std::string> diagnosticStems;   ///< every stem used since the last deletion
    };

    /// Rates. Written under the mutex, read by status without it.
    struct Clocking {
        std::atomic<double> exportFrequency{0.0};    ///< Hz, of the trace clock
        std::atomic<double> dataFrequency{0.0};      ///< words per second on each pin, in Hz
        std::atomic<double> dataRate{0.0};           ///< bits per second over all data pins
        std::atomic<double> wordClockFrequency{0.0}; ///< Hz, of the unit
        double oversampling = 0.0;                   ///< samples in a clock period
        std::uint32_t bitSamples = 0;                ///< samples in half a clock period
        bool doubleDataRate = true;
        std::vector<double> frequencies;    ///< measured rate of each usable setting, index = setting
        std::uint32_t frequencySetting = 0; ///< the one in use
    };

    /// Host side of the burst of samples. Made by open, freed by close; used under the mutex.
    struct Oversampling {
        std::uint32_t ovsStart = 16; ///< samples at the start of a burst that analysis skips
        std::uint32_t ovsDepth = 0;  ///< words per proc, 512 once opened
        std::uint32_t ovsWordBits = 16;
        std::array<std::vector<std::uint16_t>, registers::maxProcs>
            ovsWords; ///< bit 0 of a word is the earliest sample
        std::array<std::vector<RegisterAccess>, registers::maxProcs> ovsAccess; ///< read list of each proc's FIFO
    };

    /// Result of the last calibration and the state of a running one; under the mutex, apart from the atomics, which
    /// status reads.
    struct Calibration {
        Cal cal;
        Metrics metrics;
        std::string baseFile;    ///< the stem as it was when calibrate began
        std::string attemptFile; ///< stem of the running attempt's files; empty outside of attempts
        std::atomic<bool> calInProgress{false};
        std::atomic<double> calProgress{0.0};
    };

    /// Bytes of the running recording; zeroed when one starts. Used under the mutex on the thread that talks to the data
    /// client; status reads `published`, whose two numbers always belong together.
    struct Counters {
        // Aligned as its size asks: clang would call a library for anything less.
        struct alignas(2 * sizeof(std::uint32_t)) Progress {
            std::uint32_t unsent = 0;
            std::uint32_t total = 0;
        };
        std::uint32_t bytesReady = 0;   ///< on the unit, as it last reported; sent along with the next query
        std::uint32_t bytesUnsent = 0;  ///< bytesReady less what has arrived since
        std::uint32_t bytesPending = 0; ///< requested and not yet received
        std::uint32_t bytesTotal = 0;   ///< received and written
        std::atomic<Progress> published{};
    };

    /// State and control thread. `publishedError` is set before `hasError`, which is what lets status hand it out
    /// without the mutex.
    struct Control {
        std::atomic<std::int32_t> state{Uncalibrated};
        std::atomic<bool> exitThread{false};  ///< asks the control thread to end
        std::atomic<bool> threadDone{false};  ///< the control thread has finished; set by it, as its last act
        std::atomic<bool> threadLives{false}; ///< from before its start until all it wrote is in the file
        bool dataFileRefused = false;         ///< the recording's file could not be opened, which has been signalled
        std::atomic<bool> hasError{false};
        std::string errorText; ///< first error wins; under the mutex
        /// Every errorText so far, each once: another thread may still hold what status gave it, however slow it is.
        std::set<std::string> publishedTexts;
        std::atomic<const char*> publishedError{""};
        std::atomic<std::uint32_t> verifyTimeoutTicks{0}; ///< passes; 0 for no limit
        OutputFile dataFile; ///< open from the start of a recording or a verification to the end of run
    };

    Settings settings;
    BufferLimits limits;
    Session session;
    Clocking clocking;
    Oversampling oversampling;
    Calibration calibration;
    Counters counters;
    Control control;

    FrontEnd_1* frontEnd;              // not owned
    Transmitter* transmitter;          // shared, handed back to the factory
    const ChannelSettings* traceSetup; // lives as long as the channel's owner; named when the transmitter is released
    std::uint32_t channelNumber;       // number on the unit; scales register addresses
    PropertyParser* parser;            // shared by the process
    std::unique_ptr<uMutex> mutex;
    std::unique_ptr<uThread> thread;
};

} // namespace VX_QRS::ORV::CLIENT
