#include "diagnosis/faster/NextRate.h"

#include "diagnosis/analysis/LaneMargins.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace diagnosis::faster {

namespace {

constexpr int longestMove = 16;        ///< samples: 11 ns, more than two metres of cable
constexpr double certainlyWrong = 1.0; ///< samples past the eye's end: the verification has wrong words
constexpr double wallRate = 1e-3;

tune::RawPlaces movedPlaces(const tune::RawPlaces& raw, std::span<const int> wires) {
    tune::RawPlaces places = raw;
    for (std::size_t lane = 0; lane < places.lanes.size(); ++lane) {
        places.lanes[lane].rise += wires[lane + 1] - wires[0];
        places.lanes[lane].fall += wires[lane + 1] - wires[0];
    }
    return places;
}

/// The shortest pulses of all pins are longer than what debounce removes, with their jitter at this rate of errors.
bool keepsPulses(const tune::RawPlaces& places, const tune::Values& values, double errorRate) {
    const auto keeps = [&](double fallLate, double jitter, int debounce) {
        const double spread = std::numbers::sqrt2 * std::max(jitter, 0.1) * deviationsAt(errorRate);
        return places.half - std::abs(fallLate) - spread > 0.5 * debounce;
    };
    bool all = keeps(places.clockFallLate, places.clockJitter, values.front().debounce);
    for (std::size_t i = 0; i < places.lanes.size(); ++i) {
        const tune::LanePlace& lane = places.lanes[i];
        all = all && keeps(lane.fall - lane.rise, lane.jitter, values[i + 1].debounce);
    }
    return all;
}

std::vector<int> wiresWith(std::size_t pins, std::size_t lane, int samples) {
    std::vector<int> wires(pins, 0);
    wires.at(lane + 1) = samples;
    return wires;
}

/// The moves of one lane, and what becomes of each of them in every trial.
class Moves {
public:
    Moves(const std::vector<RefusedRate>& given, double wanted) : rates(given), errorRate(wanted) {}

    /// The worst of the trials, if all of them are sound.
    std::optional<WireMove> soundMove(std::size_t lane, int samples) const {
        std::optional<WireMove> worst;
        const RefusedRate& slowest = rates.back();
        const std::vector<int> wires = wiresWith(slowest.bursts.front().pins.size(), lane, samples);
        for (std::size_t trial = 0; trial < slowest.bursts.size(); ++trial) {
            const Predicted predicted = predict(rates, wires, trial, errorRate);
            if (predicted.kind != Predicted::Kind::Sound) {
                return std::nullopt;
            }
            const RefusedRate& kept = rates[predicted.rate];
            const tune::LanePlace& place = kept.found.places->lanes[predicted.choice.worst];
            const double margin = predicted.choice.margin - deviationsAt(wallRate) * place.likelyWithClock;
            const WireMove move{lane, samples, kept.hertz, kept.sampleRate, margin};
            const bool isWorse =
                worst && (move.hertz < worst->hertz || (move.hertz == worst->hertz && move.margin < worst->margin));
            worst = !worst || isWorse ? move : *worst;
        }
        return worst;
    }

    /// The same, if a sample more or less would do, too.
    std::optional<WireMove> safeMove(std::size_t lane, int samples) const {
        const auto move = soundMove(lane, samples);
        return move && soundMove(lane, samples - 1) && soundMove(lane, samples + 1) ? move : std::nullopt;
    }

private:
    const std::vector<RefusedRate>& rates;
    double errorRate;
};

std::optional<WireMove> smallestMove(const std::vector<RefusedRate>& rates, double errorRate) {
    const Moves moves(rates, errorRate);
    const std::size_t lanes = rates.back().found.places->lanes.size();
    // A bit further the wire would belong to another slot.
    const int longest = std::min(longestMove, static_cast<int>(rates.back().found.places->half));
    for (int way = 1; way <= longest; ++way) {
        std::optional<WireMove> best;
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            for (const int samples : {-way, way}) {
                const auto move = moves.safeMove(lane, samples);
                if (move && (!best || move->margin > best->margin)) {
                    best = move;
                }
            }
        }
        if (best) {
            return best;
        }
    }
    return std::nullopt;
}

} // namespace

Predicted predict(const std::vector<RefusedRate>& rates, std::span<const int> wires, std::size_t first,
                  double errorRate) {
    Predicted predicted;
    std::vector<int> carried;
    for (std::size_t index = 0; index < rates.size(); ++index) {
        const RefusedRate& rate = rates[index];
        predicted.rate = index;
        predicted.attempt = attemptAutomatically(rate.bursts, first, wires, carried);
        if (predicted.attempt.end != AutomaticAttempt::End::Values) {
            predicted.kind = predicted.attempt.end == AutomaticAttempt::End::NoPosition ? Predicted::Kind::NoPosition
                                                                                        : Predicted::Kind::LittleMargin;
            continue;
        }
        const tune::RawPlaces places = movedPlaces(*rate.found.places, wires);
        predicted.choice = tune::judged(places, predicted.attempt.values, errorRate);
        predicted.kind = Predicted::Kind::WrongWords;
        if (predicted.choice.margin > -certainlyWrong) {
            const bool isSound =
                predicted.choice.spare >= 0.0 && keepsPulses(places, predicted.attempt.values, errorRate);
            predicted.kind = isSound ? Predicted::Kind::Sound : Predicted::Kind::Unclear;
            return predicted;
        }
    }
    return predicted;
}

NextRate nextRateOf(const std::vector<RefusedRate>& rates, double errorRate) {
    NextRate next;
    const RefusedRate& rate = rates.back();
    next.setting = rate.setting;
    next.hertz = rate.hertz;
    next.tuned = rate.found.kind == tune::Found::Kind::Sound;
    const bool isMeasured =
        std::ranges::all_of(rates, [](const RefusedRate& each) { return each.found.places && !each.bursts.empty(); });
    if (!isMeasured) {
        next.limit = "its bursts do not show where the lanes change";
        return next;
    }
    const std::vector<int> asWired(rate.bursts.front().pins.size(), 0);
    const std::vector<RefusedRate> alone{rate};
    next.limit = limitText(rate, predict(alone, asWired, 0, errorRate));
    // A computation that does not find what the receiver did is none to build on.
    if (predict(rates, asWired, 0, errorRate).kind != Predicted::Kind::Sound) {
        next.move = smallestMove(rates, errorRate);
    }
    return next;
}

} // namespace diagnosis::faster
