#pragma once

#include "client/frontend/FrontEndChannel_1.h"

#include <cstdint>
#include <string>

namespace VX_QRS::ORV::CLIENT {

/// Access to the private members of a channel, for tests. Prefer the log, the registers, files and status.
struct ChannelInspector {
    FrontEndChannel_1& channel;

    auto& settings() { return channel.settings; }
    auto& limits() { return channel.limits; }
    auto& session() { return channel.session; }
    auto& clocking() { return channel.clocking; }
    auto& oversampling() { return channel.oversampling; }
    auto& calibration() { return channel.calibration; }
    Cal& cal() { return channel.calibration.cal; }
    Metrics& metrics() { return channel.calibration.metrics; }
    auto& counters() { return channel.counters; }
    auto& control() { return channel.control; }
    uMutex& mutex() { return *channel.mutex; }
    uThread& thread() { return *channel.thread; }

    // life cycle
    void open() { channel.open(); }
    void close() { channel.close(); }
    using StartSteps = FrontEndChannel_1::StartSteps;
    using StopSteps = FrontEndChannel_1::StopSteps;
    void internalStart(std::uint32_t bufferSize, const std::string& bufferMode, const char* program, StartSteps steps) {
        channel.internalStart(bufferSize, bufferMode, program, steps);
    }
    void internalStop(StopSteps steps) { channel.internalStop(steps); }
    void initializeThreadState() { channel.initializeThreadState(); }
    void signalStop(std::int32_t requested, const char* text) { channel.signalStop(requested, text); }
    void terminateThread() { channel.terminateThread(); }

    // data path
    void allocSelf() { channel.allocSelf(); }
    void freeSelf() { channel.freeSelf(); }
    void sync() { channel.sync(); }

    // registers
    bool applyPinSettings() { return channel.applyPinSettings(); }
    void setupPins(Cal& target) { channel.setupPins(target); }
    std::uint32_t disableClock() { return channel.disableClock(); }
    void flushStm() { channel.flushStm(); }
    void waitForCommsIdle(unsigned polls) { channel.waitForCommsIdle(polls); }
    std::uint32_t convertPeriod(std::uint32_t words, std::uint32_t low, std::uint32_t high) {
        return channel.convertPeriod(words, low, high);
    }

    // calibration
    void autoCal(Metrics& results, Cal& target, std::uint32_t start) { channel.autoCal(results, target, start); }
    void manualCal(Cal& target) { channel.manualCal(target); }
    void assertCal(const Cal& target) { channel.assertCal(target); }
    void writeCal(const Cal& target) { channel.writeCal(target); }
    void readCal(Cal& target) { channel.readCal(target); }
    void applyFrequencyChange(double frequency) { channel.applyFrequencyChange(frequency); }
    void computeFreqBasedCal(Cal& target) { channel.computeFreqBasedCal(target); }
    void getCalFromMetrics(const Metrics& results, Cal& target) { channel.getCalFromMetrics(results, target); }

    // frequency
    double measureFreq() { return channel.measureFreq(); }
    void measureAndVerifyFreq() { channel.measureAndVerifyFreq(); }
    void findAllFrequencySettings(Metrics& results, Cal& target) { channel.findAllFrequencySettings(results, target); }
    void findStartFrequencySetting(std::uint32_t& setting) { channel.findStartFrequencySetting(setting); }

    // oversampling
    void captureOvs() { channel.captureOvs(); }
    void clearOvs() { channel.clearOvs(); }
    void triggerOvs() { channel.triggerOvs(); }
    void readOvs() { channel.readOvs(); }
    void readOvsStats(OvsStats& stats) { channel.readOvsStats(stats); }
    void clearOvsError() { channel.clearOvsError(); }
    std::uint32_t readOvsError() { return channel.readOvsError(); }

    // margins
    void detectSamplingPosition() { channel.detectSamplingPosition(); }
    void stretch(Metrics& m) { channel.stretch(m); }
    void align(Metrics& m, std::uint32_t strategy) { channel.align(m, strategy); }
    void findMargin(Metrics& m) { channel.findMargin(m); }
    void adjustClockDelay(Metrics& m) { channel.adjustClockDelay(m); }
    void computeOvsDataCorrelation(Metrics& m) { channel.computeOvsDataCorrelation(m); }
    void formatDelaysForFpga(Metrics& m) { channel.formatDelaysForFpga(m); }
    double findPeakCorrelation(const ProcMetrics& p, std::int32_t& delay, std::uint32_t range) {
        return channel.findPeakCorrelation(p, delay, range);
    }
    void verifyOvsMargin(const Cal& target, std::int32_t margin) { channel.verifyOvsMargin(target, margin); }

    // verification
    void verifyCal() { channel.verifyCal(); }

    // diagnostics
    void deleteDiagnosticFiles() { channel.deleteDiagnosticFiles(); }
    void logCal(const Metrics& results, const Cal& target) { channel.logCal(results, target); }
    void logOvs(const Cal& target, const char* suffix = nullptr) { channel.logOvs(target, suffix); }
    void logRegs() { channel.logRegs(); }
    void formatMetrics(std::string& text) { channel.formatMetrics(text); }
    void correlationString(const ProcMetrics& p, std::string& text) { channel.correlationString(p, text); }
    void checkTriggerFile() { channel.checkTriggerFile(); }
};

} // namespace VX_QRS::ORV::CLIENT
