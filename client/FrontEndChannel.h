#pragma once

#include "common/source/Property.h"

#include <cstdint>

// One capture channel of the unit: a clock pin, up to seven data pins, one transmitter, one recording stream.

namespace VX_QRS::ORV::CLIENT {

/// What a channel is doing. The order is meaningful: recording needs Calibrated or later.
enum ChannelState : std::int32_t {
    Uncalibrated = 0,
    Calibrating = 1, ///< reported by status while calibrate runs, never stored
    Calibrated = 2,
    Recording = 3,
    Failed = 4,    ///< a recording ended by a channel error
    Idle = 5,      ///< the unit's buffer filled in stop mode
    Stopped = 6,   ///< stopped by request or by the trigger file
    Triggered = 7, ///< requested by status and never accepted
};

/// A snapshot of a channel. Sizes in bytes, frequencies in Hz, the rate in bits per second.
struct ChannelMetrics {
    std::uint32_t bytesReady = 0; ///< what the unit holds and has not yet sent, as last seen
    std::uint32_t bytesTotal = 0; ///< written to the host file
    std::int32_t state = Uncalibrated;
    bool threadDone = false; ///< the control thread has finished; never set before one has run
    bool hasError = false;
    const char* errorText = ""; ///< never null; as long as the channel lives
    double wordClockFrequency = 0.0;
    double exportFrequency = 0.0;
    double dataFrequency = 0.0;
    double dataRate = 0.0;
    double progress = 0.0;     ///< of a calibration, 0.0 to 1.0
    bool threadAbsent = false; ///< no control thread is alive, so that nothing more can come
};

/// Failures are thrown as Exception. One controlling thread calls everything but status and stop, which any thread may
/// call at any time. setProperty and getProperty are not locked.
class FrontEndChannel : public Property {
public:
    ~FrontEndChannel() override = default;
    /// Reads the properties file afresh and reopens the channel. Refused while recording: the control thread is then
    /// joined all the same, and a following stop brings the channel out of its state.
    virtual void applySettings() = 0;
    /// Blocks for the whole calibration.
    virtual void calibrate() = 0;
    /// Begins a recording; the argument has no effect. The data file is empty once it returns. An upload that still runs
    /// is ended first and its rest lost: wait for `threadDone` before. calibrate and applySettings do the same.
    /// Never call it while a recording runs: the call is ignored, but keeps the channel's lock for the calling thread,
    /// and the running recording then stalls.
    virtual void start(bool flag) = 0;
    /// Asks the recording to end and returns.
    virtual void stop() = 0;
    /// Tells the transmitter that the trace ends.
    virtual void endTransmission(bool flag) = 0;
    /// Lock-free, except that a trigger of the target is logged under the channel's lock.
    virtual void status(ChannelMetrics& out) = 0;
    /// Captures a burst of samples and lists it; returns the unit's error flags (0 for none).
    virtual std::uint32_t ovs(bool capture, bool clearError) = 0;
};

} // namespace VX_QRS::ORV::CLIENT
