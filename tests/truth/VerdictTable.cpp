#include "tests/truth/VerdictTable.h"

#include "bench/signal/Random.h"
#include "diagnosis/doctor/Diagnosis.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "toolkit/ExitCode.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <utility>

namespace truth {

namespace {

using Kind = diagnosis::RunVerdict::Kind;

constexpr double shareOfWorst = 1.0 / 128.0;
constexpr double shareOfOpposed = 1.0 / 2.0;
constexpr double exactlyDrawn = 30.0;       ///< above it a Poisson value is its mean, for this purpose
constexpr std::uint64_t draws = 0x76657264; ///< apart from the draws of the wirings

std::uint64_t poissonOf(double mean, double uniform) {
    if (mean > exactlyDrawn) {
        return static_cast<std::uint64_t>(mean + 0.5);
    }
    double chance = std::exp(-mean);
    double below = chance;
    std::uint64_t value = 0;
    while (uniform >= below && value < 1000) {
        ++value;
        chance *= mean / static_cast<double>(value);
        below += chance;
    }
    return value;
}

constexpr std::array names{"right", "unsafe", "thin", "wrong bit drawn", "refused", "wrong"};

bool isOdd(Knowledge known, Kind said) {
    switch (known) {
    case Knowledge::right:
        return said == Kind::Fault || said == Kind::Unknown;
    case Knowledge::unsafe:
        return said == Kind::Sound || said == Kind::Unknown;
    case Knowledge::thin:
        return said == Kind::Unknown;
    case Knowledge::wrong:
        return said == Kind::Sound;
    case Knowledge::hit:
    case Knowledge::refused:
        return said != Kind::Fault;
    }
    return true;
}

/// Bits of a single lane that differ from a neighbour in the first half, which has a one and two or four zeros in turn, and
/// all of the second; a single lane has alternating bits only.
double shareOfChanges(std::size_t lanes) {
    return lanes == 1 ? 1.0 : (lanes == 2 ? 2.0 / 3.0 : 2.0 / 5.0) / 2.0 + shareOfOpposed;
}

double shareOf(const LaneTruth& lane, std::size_t lanes, const Board& board) {
    return !board.unkind() ? shareOfChanges(lanes) : lane.isCoupled ? shareOfOpposed : shareOfWorst;
}

} // namespace

diagnosis::WordCheck drawWordCheck(std::uint64_t seed, const Verdict& known, const Board& board,
                                   std::uint64_t comparedBits) {
    const std::vector<LaneTruth>& lanes = known.lanes;
    diagnosis::WordCheck check;
    check.pattern = lanes.size() > 1 ? "walk and a5" : "walk";
    check.askedErrorRate = diagnosis::usualErrorRate;
    check.bits = comparedBits;
    const double bits = static_cast<double>(comparedBits) / static_cast<double>(lanes.size());
    for (std::size_t i = 0; i < lanes.size(); ++i) {
        const bool astray = lanes[i].slot != lanes.front().slot;
        const double lost = i == 0 ? known.clockLoss : 0.0;
        const double mean =
            bits * (astray ? 0.5 : std::min(0.5, shareOf(lanes[i], lanes.size(), board) * lanes[i].errorRate + lost));
        diagnosis::LaneErrors errors;
        errors.lane = static_cast<unsigned>(i);
        errors.errors = poissonOf(mean, bench::uniformOf(seed ^ draws, i));
        check.errors += errors.errors;
        check.lanes.push_back(errors);
    }
    return check;
}

diagnosis::RunVerdict verdictOn(diagnosis::DiagnosticSet set, const Verdict& known,
                                const std::optional<diagnosis::WordCheck>& words) {
    set.checks.emplace();
    if (known.outcome == Outcome::refused) {
        set.checks->code = toolkit::ExitCode::CalibrationRefused;
        set.checks->failure = known.reason;
    } else if (words) {
        set.checks->words.push_back(*words);
    }
    return diagnosis::judgeRun(set, diagnosis::diagnose(set));
}

Knowledge knowledgeOf(const Verdict& known, const std::optional<diagnosis::WordCheck>& words) {
    const bool isSafe =
        known.clockLoss < diagnosis::usualErrorRate &&
        std::ranges::all_of(
            known.lanes, [](const LaneTruth& lane) { return lane.errorRate < diagnosis::usualErrorRate; });
    const bool isHit = words && words->errors != 0;
    switch (known.outcome) {
    case Outcome::right:
        return !isSafe ? Knowledge::unsafe : isHit ? Knowledge::hit : Knowledge::right;
    case Outcome::thin:
        return !isSafe ? Knowledge::unsafe : isHit ? Knowledge::hit : Knowledge::thin;
    case Outcome::refused:
        return Knowledge::refused;
    case Outcome::wrong:
        break;
    }
    return Knowledge::wrong;
}

void VerdictTable::add(std::uint64_t seed, const Verdict& known, const std::optional<diagnosis::WordCheck>& words,
                       const diagnosis::RunVerdict& said) {
    const Knowledge knowledge = knowledgeOf(known, words);
    ++counts.at(static_cast<std::size_t>(knowledge)).at(static_cast<std::size_t>(said.kind));
    if (isOdd(knowledge, said.kind)) {
        odd.push_back(std::string(names.at(static_cast<std::size_t>(knowledge))) + " and " + verdictName(said.kind) +
                      ": seed " + std::to_string(seed) + ": " + verdictLine(said) + "; " + known.reason + "; " +
                      known.description);
    }
}

std::string VerdictTable::text() const {
    std::string out = "| the bench knows | sound |  thin | fault | unknown |\n"
                      "|-----------------|-------|-------|-------|---------|\n";
    for (std::size_t row = 0; row < counts.size(); ++row) {
        const auto said = [&](Kind kind) { return counts.at(row).at(static_cast<std::size_t>(kind)); };
        char line[120];
        std::snprintf(line, sizeof line, "| %-15s | %5u | %5u | %5u | %7u |\n", names.at(row), said(Kind::Sound),
                      said(Kind::Thin), said(Kind::Fault), said(Kind::Unknown));
        out += line;
    }
    return out;
}

VerdictTable judgeVerdicts(std::uint64_t firstSeed, unsigned count, bench::ExportKind kind, const Board& board) {
    VerdictTable table;
    for (std::uint64_t seed = firstSeed; seed < firstSeed + count; ++seed) {
        const test_support::TemporaryFolder folder;
        diagnosis::DiagnosticSet set;
        const Verdict known = calibrateAndJudge(drawScenario(seed, kind, board), folder.path, 20000,
                                                board.unkind() ? Judging::ByTrace : Judging::ByPattern,
                                                [&] { set = diagnosis::readDiagnostics(folder.path); });
        std::optional<diagnosis::WordCheck> words;
        if (known.outcome != Outcome::refused) {
            words = drawWordCheck(seed, known, board);
        }
        table.add(seed, known, words, verdictOn(std::move(set), known, words));
    }
    return table;
}

} // namespace truth
