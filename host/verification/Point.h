#pragma once

#include "host/session/GivenValues.h"
#include "host/verification/WordVerification.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// One point of a scan: set these delays and stretches in a running session, record known words, count errors per lane.

namespace host {

struct PointLane {
    unsigned lane = 0; ///< from 0, which carries the top bit
    std::uint64_t errors = 0;
    std::uint64_t early = 0; ///< of those, equal to the next slot's bit only
    std::uint64_t late = 0;  ///< equal to the preceding slot's bit only
};

struct Point {
    std::uint64_t bits = 0;       ///< compared, of each lane
    std::vector<PointLane> lanes; ///< all data lanes, in their order, also those without an error
    /// Words were lost or inserted, or none could be compared: the counts of single lanes are not to be trusted, and the
    /// error rate is high.
    bool astray = false;
};

/// Measures points in a session that has calibrated: the rate stays that of its last calibration. Every point says how
/// many bits it compared. At the end, also after a failure, the unit holds the kept values again, and the receiver's files
/// of samples and of the calibration are as they were.
///
/// Threads: one. The session's channel must not record meanwhile.
class PointRecorder {
public:
    /// `kept` are the values of the calibration. Throws Failure (Failed) if no words are known for this channel.
    PointRecorder(Session& session, const SessionResult& result, PatternTransmitter& transmitter,
                  const PinValues& kept);
    ~PointRecorder();
    PointRecorder(const PointRecorder&) = delete;
    PointRecorder& operator=(const PointRecorder&) = delete;

    /// Sets `values` and records the pattern until so many bits of each lane are compared, in as many recordings as the
    /// buffer needs; at least one recording is made, and its bits all count. Fewer bits after the user's interruption, and
    /// when there are too many errors for a rate. Throws Failure.
    Point measure(const PinValues& values, std::uint64_t bitsOfEachLane);

    /// Sets the kept values again; the destructor does so, too, without a report of failures. Throws Failure.
    void restore();

    const VerifiedChannel& channel() const { return target; }
    /// Slots of a lane, per slot, whose neighbour on either side differs: where a sample that is too early or too late
    /// shows a wrong bit.
    double transitionShare() const { return share; }
    const std::string& pattern() const { return patternName; }

private:
    void set(const PinValues& values);
    void recordInto(Point& point, std::uint64_t missing);

    VerifiedChannel target;
    PatternTransmitter& sender;
    PinValues keptValues;
    GivenValues given;
    FileAside samples;
    std::string patternName;
    double share = 0.0;
    bool moved = false;            ///< the unit may hold other values than the kept ones
    std::optional<PinValues> held; ///< by the unit, as far as they were set here
    ProgressLine silent{ProgressStyle::Quiet};
};

} // namespace host
