#pragma once

#include "diagnosis/tune/Search.h"
#include "tests/support/bench_client/BenchRig.h"
#include "tests/truth/Judgement.h"

#include <cstdint>
#include <optional>
#include <string>

// The search for values, on the bench's unit in this process, and what the bench knows of them.

namespace truth {

/// A bit that differs from its neighbours is wrong less often than this, where values are called sound.
inline constexpr double soundErrorRate = 1e-9;

/// The bench's unit at one setting of its target.
class RigBoard final : public diagnosis::tune::Board {
public:
    RigBoard(bench_client::BenchRig& used, unsigned setting, const char* burstPattern = "walk");

    diagnosis::Burst burst(const diagnosis::tune::Values& values) override;
    /// Another one, of the same transmission some milliseconds later.
    diagnosis::Burst laterBurst(const diagnosis::tune::Values& values);
    /// Counts drawn from what the bench knows: a recording's wrong bits come from the same chances.
    diagnosis::tune::Words words(const diagnosis::tune::Values& values, double errorRate) override;

    void set(const diagnosis::tune::Values& values);
    double half() const;

private:
    void send();
    diagnosis::Burst captured(const diagnosis::tune::Values& values);

    bench_client::BenchRig& rig;
    unsigned programmed;
    const char* pattern;
    std::uint64_t draws = 0;
};

/// What the bench knows of values that the unit holds, while the target sends.
enum class Known {
    sound, ///< every lane in the same slot, within the middle 70 percent of its eye, and no bit wrong at the rate above
    safe,  ///< no bit wrong at that rate, nearer to an edge
    thin,  ///< a recording of a second has no wrong bit, most likely
    wrong,
};
Known knownOf(const bench::Segment& segment);

/// The same after the receiver's calibration: sound, or how it ended.
struct Calibrated {
    bool refused = false;
    std::string reason;
    Known known = Known::wrong;
    unsigned setting = 0;
};
Calibrated calibrate(bench_client::BenchRig& rig);

/// Whether any values make the setting sound: all delays, stretches around the duty's, slots in reach.
bool soundIsPossible(bench_client::BenchRig& rig, unsigned setting);

/// The search over all usable settings, fast to slow: the first that is sound.
struct Tuned {
    std::optional<unsigned> setting; ///< nothing: none
    diagnosis::tune::Found found;
    Known known = Known::wrong; ///< of what was kept
    bool sound() const { return setting && known == Known::sound; }
};
Tuned tuneAll(bench_client::BenchRig& rig);

/// How many settings the unit takes.
unsigned usableSettings(const bench::Scenario& scenario);

} // namespace truth
