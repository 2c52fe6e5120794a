#include "host/verification/Point.h"

#include "diagnosis/files/Patterns.h"
#include "host/platform/InterruptAnswer.h"
#include "host/session/CheckedReadBack.h"

#include <algorithm>

namespace host {

namespace {

using diagnosis::StreamCheck;

/// More errors than this share of the words show nothing else when there are more of them.
constexpr double hopelessShare = 0.5;

/// Of all lanes and slots, those whose next slot differs; as many differ from the slot before.
double transitionShareOf(unsigned lanes, const std::string& name) {
    const auto pattern = diagnosis::patternNamed(lanes, name);
    if (!pattern) {
        return 1.0; // one lane has alternating bits whatever the name
    }
    const std::size_t slots = diagnosis::slotsOf(lanes);
    const std::size_t count = pattern->words.size() * slots;
    const auto bitAt = [&](std::size_t slot, std::size_t lane) {
        return diagnosis::lineBit(pattern->words[slot % count / slots], lanes, slot % slots, lane);
    };
    std::size_t changes = 0;
    for (std::size_t slot = 0; slot < count; ++slot) {
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            changes += bitAt(slot, lane) != bitAt(slot + 1, lane) ? 1U : 0U;
        }
    }
    return static_cast<double>(changes) / static_cast<double>(count * lanes);
}

void add(Point& point, const StreamCheck& stream, unsigned lanes) {
    constexpr std::uint64_t bitsOfWord = 16;
    point.bits += stream.wordsCompared * bitsOfWord / lanes;
    point.astray = point.astray || stream.wordsCompared == 0 || stream.gaps != 0;
    for (const diagnosis::LaneDamage& damage : stream.lanes) {
        point.astray = point.astray || damage.carries.has_value();
        if (damage.lane < point.lanes.size()) {
            PointLane& lane = point.lanes[damage.lane];
            lane.errors += damage.wrongBits;
            lane.early += damage.likeNext;
            lane.late += damage.likePreceding;
        }
    }
}

bool isHopeless(const Point& point) {
    return point.astray || std::any_of(point.lanes.begin(), point.lanes.end(), [&](const PointLane& lane) {
               return static_cast<double>(lane.errors) > hopelessShare * static_cast<double>(point.bits) / 16.0;
           });
}

} // namespace

PointRecorder::PointRecorder(Session& session, const SessionResult& result, PatternTransmitter& transmitter,
                             const PinValues& kept)
    : target(verifiedChannel(session, result)), sender(transmitter), keptValues(kept), given(session, result),
      samples(target.file, target.leftovers), patternName(verificationPattern(target)) {
    if (const std::string obstacle = verificationObstacle(target); !obstacle.empty()) {
        throw toolkit::Failure(toolkit::ExitCode::Failed, obstacle);
    }
    share = transitionShareOf(target.dataPins, patternName);
}

PointRecorder::~PointRecorder() {
    try {
        restore();
    } catch (const toolkit::Failure&) {
        return; // the caller has the failure that came first
    }
}

void PointRecorder::restore() {
    if (moved) {
        set(keptValues);
        moved = false;
    }
}

/// Every configuration of the receiver takes a burst; values that the unit holds already are left alone.
void PointRecorder::set(const PinValues& values) {
    if (held == values) {
        return;
    }
    held.reset();
    given.set(values);
    held = values;
}

Point PointRecorder::measure(const PinValues& values, std::uint64_t bitsOfEachLane) {
    const InterruptAnswer answer("stopping the scan");
    Point point;
    for (unsigned lane = 0; lane < target.dataPins; ++lane) {
        point.lanes.push_back({lane});
    }
    moved = true;
    set(values);
    const PatternOrder order(sender, usualPattern);
    do {
        recordInto(point, bitsOfEachLane - std::min(point.bits, bitsOfEachLane));
    } while (point.bits < bitsOfEachLane && !isHopeless(point) && !interrupted());
    return point;
}

/// The next recording, as long as the missing bits take, but no longer than the buffer.
void PointRecorder::recordInto(Point& point, std::uint64_t missing) {
    constexpr double reserve = 1.02; // packets have a word that is none of the pattern's
    RecordingPlan plan;
    const double capacity = 8.0 * static_cast<double>(target.bufferBytes) / target.dataPins;
    const double bits = std::min(static_cast<double>(missing) * reserve, capacity);
    plan.seconds = target.clockHertz > 0.0 ? bits / (2.0 * target.clockHertz) : 0.0;
    const RecordingEnd end = runRecording(target.channel, plan, silent);
    if (!target.ownGenerator && !sender.isProgrammed()) {
        throw toolkit::Failure(toolkit::ExitCode::Failed, "the receiver has not programmed the test pattern, so the "
                                                          "recorded words are not known");
    }
    diagnosis::StreamForm form = traceForm(target);
    form.pattern = patternName;
    ReadBack back;
    const StreamCheck stream =
        readBackChecked(target.channel, silent, form, [](std::span<const std::uint64_t>) {}, back);
    if (const auto fault = faultOf(end, back)) {
        throw toolkit::Failure(*fault);
    }
    add(point, stream, target.dataPins);
}

} // namespace host
