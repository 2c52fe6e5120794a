#include "diagnosis/verdict/RunVerdict.h"
#include "tests/unit/diagnosis/files/DrawnFiles.h"

#include <gmock/gmock.h>

// Which verdict a run gets, by the files that it left.

namespace diagnosis {
namespace {

using testing::HasSubstr;
using toolkit::ExitCode;
using Kind = RunVerdict::Kind;

constexpr std::size_t samples = 2048;

std::uint16_t rampWord(std::size_t index) {
    return drawn::framedWord(drawn::ramp, index);
}

/// Four data pins at 50 MHz whose changes are `hold` samples after the clock edges, 14 samples apart.
DiagnosticSet kept(std::size_t hold = 7) {
    DiagnosticSet set;
    set.name = "run";
    FileGroup& attempt = set.attempts.emplace_back();
    attempt.setting = 1;
    attempt.cal = parseCalFile(drawn::report({{6, 6}, {6, 6}, {6, 6}, {6, 6}}), "x");
    const std::string middle = drawn::square(samples, 14, 10);
    const std::string last = drawn::square(samples, 14, 3 + hold);
    attempt.burst = parseBurst(drawn::burst({drawn::square(samples, 14, 3), middle, middle, middle, last}), "x");
    attempt.registers.emplace();
    attempt.verification = parseVerification(drawn::packets(rampWord));
    return set;
}

WordCheck compared(std::uint64_t bits, std::uint64_t errors = 0) {
    WordCheck check;
    check.pattern = "lfsr";
    check.askedErrorRate = 1e-9;
    check.bits = bits;
    check.errors = errors;
    if (errors != 0) {
        check.lanes = {{2, errors, errors, 0}};
    }
    return check;
}

DiagnosticSet with(DiagnosticSet set, const WordCheck& check) {
    set.checks.emplace().words.push_back(check);
    return set;
}

RunVerdict judged(const DiagnosticSet& set) {
    Diagnosis diagnosis;
    diagnosis.verdicts.resize(set.attempts.size());
    diagnosis.calibrated = !set.attempts.empty();
    return judgeRun(set, diagnosis);
}

std::string firstOf(const RunVerdict& verdict) {
    return verdict.reasons.empty() ? std::string() : verdict.reasons.front().slug;
}

TEST(RunVerdict, CompleteEvidenceWithoutAFaultIsSound) {
    const RunVerdict verdict = judged(kept());
    EXPECT_EQ(verdict.kind, Kind::Sound) << firstOf(verdict);
    EXPECT_TRUE(verdict.reasons.empty());
    ASSERT_TRUE(verdict.errorRate);
    EXPECT_EQ(verdict.errorRate->bits, 512U * 255U * 16U) << "the receiver's verification";
    ASSERT_TRUE(verdict.worstMargin);
    EXPECT_NEAR(verdict.worstMargin->samples, 6.0, 0.01) << "the sample at the clock edge has to show the bit";
    EXPECT_FALSE(verdict.worstMargin->isSetup);
}

TEST(RunVerdict, AMarginBelowItsLimitIsThinAndNamesTheLane) {
    const RunVerdict verdict = judged(kept(2));
    EXPECT_EQ(verdict.kind, Kind::Thin);
    EXPECT_EQ(firstOf(verdict), "margin-thin");
    EXPECT_EQ(verdict.worstMargin.value().pin, 4U);
    EXPECT_LT(verdict.worstMargin->samples, verdict.worstMargin->limitSamples);
}

TEST(RunVerdict, ADutyErrorThatCostsTheMarginIsNamedBeforeIt) {
    const DiagnosticSet set = kept(2);
    Diagnosis diagnosis;
    diagnosis.verdicts.resize(1);
    diagnosis.calibrated = true;
    Finding note;
    note.kind = FindingKind::DutyBeyondCorrection;
    note.severity = Finding::Severity::Note;
    note.text = "the duty error of data 4";
    diagnosis.findings.push_back(note);
    const RunVerdict verdict = judgeRun(set, diagnosis);
    EXPECT_EQ(verdict.kind, Kind::Thin);
    ASSERT_EQ(verdict.reasons.size(), 2U);
    EXPECT_EQ(verdict.reasons[0].slug, "duty-beyond-correction");
    EXPECT_EQ(verdict.reasons[1].slug, "margin-thin");
    EXPECT_EQ(judgeRun(kept(), diagnosis).kind, Kind::Sound) << "where the margin is large it costs nothing";
}

TEST(RunVerdict, AnErrorRateThatAsksForMoreNeedsMoreMargin) {
    EXPECT_GT(marginLimit(1e-15, 0.3), marginLimit(1e-9, 0.3));
    EXPECT_NEAR(marginLimit(1e-9, 0.3), 6.0 * 0.3 + 0.5, 0.01);
    EXPECT_GT(marginLimit(1e-9, 0.0), 0.5) << "no burst shows that there is no jitter";
}

TEST(RunVerdict, OneWrongBitIsAFaultOfItsLane) {
    const RunVerdict verdict = judged(with(kept(), compared(3'000'000'000, 1)));
    EXPECT_EQ(verdict.kind, Kind::Fault);
    EXPECT_EQ(firstOf(verdict), "words-wrong");
    EXPECT_THAT(verdict.reasons.front().text, HasSubstr("1 bit of 3000000000 is wrong, on D1"));
    EXPECT_THAT(verdict.reasons.front().text, HasSubstr("with the next slot's bit"));
}

TEST(RunVerdict, FewerBitsThanTheAskedRateNeedsAreThin) {
    const RunVerdict verdict = judged(with(kept(), compared(3'000'000)));
    EXPECT_EQ(verdict.kind, Kind::Thin);
    EXPECT_EQ(firstOf(verdict), "words-few");
    EXPECT_EQ(judged(with(kept(), compared(3'000'000'000))).kind, Kind::Sound);
}

TEST(RunVerdict, WithoutFilesOfACalibrationItIsUnknown) {
    const DiagnosticSet none;
    const RunVerdict verdict = judgeRun(none, diagnose(none));
    EXPECT_EQ(verdict.kind, Kind::Unknown);
    EXPECT_EQ(firstOf(verdict), "calibration-missing");
    ASSERT_FALSE(verdict.evidence.empty());
    EXPECT_FALSE(verdict.evidence.front().isThere);
    EXPECT_THAT(verdict.evidence.front().text, HasSubstr("orvtrace calibrate")) << "how to get it";
}

/// A recording without the files of its run.
DiagnosticSet lone(StreamVerdict verdict, std::uint64_t compared) {
    DiagnosticSet set;
    StreamCheck stream;
    stream.verdict = verdict;
    stream.form.pattern = compared == 0 ? "" : "ramp";
    stream.wordsCompared = compared;
    set.checks.emplace().recordings.emplace_back().stream = stream;
    return set;
}

TEST(RunVerdict, OfALoneStreamSaysThatOnlyTheStreamWasJudgedAndWhatAddsTheRest) {
    const DiagnosticSet set = lone(StreamVerdict::Sound, 0);
    const RunVerdict verdict = judgeRun(set, diagnose(set));
    EXPECT_EQ(verdict.kind, Kind::Unknown);
    EXPECT_EQ(verdictLine(verdict), "verdict: unknown: only the recorded stream was judged, and is sound; for the "
                                    "rest give --run DIR, the folder of its run");
    EXPECT_EQ(firstOf(verdict), "stream-only");
    for (const Evidence& piece : verdict.evidence) {
        EXPECT_EQ(piece.isThere, piece.name == "stream") << piece.name;
    }
    const DiagnosticSet unclear = lone(StreamVerdict::Unknown, 0);
    EXPECT_THAT(verdictLine(judgeRun(unclear, diagnose(unclear))), HasSubstr("was judged; for the rest"));
    const DiagnosticSet damaged = lone(StreamVerdict::Damaged, 0);
    EXPECT_EQ(judgeRun(damaged, diagnose(damaged)).kind, Kind::Fault);
}

TEST(RunVerdict, OfALoneStreamWithAPatternCountsItsWordsAsCompared) {
    const DiagnosticSet set = lone(StreamVerdict::Sound, 1000);
    const RunVerdict verdict = judgeRun(set, diagnose(set));
    EXPECT_EQ(verdict.reasons.size(), 1U) << "not that no words were compared";
    EXPECT_EQ(firstOf(verdict), "stream-only");
}

TEST(RunVerdict, WithoutAComparisonOfWordsItIsUnknown) {
    DiagnosticSet set = kept();
    set.attempts.front().verification.reset();
    EXPECT_EQ(firstOf(judged(set)), "words-not-compared");
    EXPECT_EQ(judged(with(set, compared(3'000'000'000))).kind, Kind::Sound);
}

TEST(RunVerdict, TheVerificationOfATpiuExportComparesNoWords) {
    DiagnosticSet set = kept();
    set.attempts.front().cal->exportKind = "tpiu";
    const RunVerdict verdict = judged(set);
    EXPECT_EQ(verdict.kind, Kind::Unknown);
    EXPECT_EQ(firstOf(verdict), "words-not-compared");
    EXPECT_EQ(judged(with(set, compared(3'000'000'000))).kind, Kind::Sound);
}

/// The run at a clock that the receiver does not analyse: its report then has no margins.
DiagnosticSet keptAtASlowClock() {
    DiagnosticSet set = kept();
    FileGroup& attempt = set.attempts.front();
    attempt.cal->rates.exportFrequency = 10e6;
    attempt.burst->rates.exportFrequency = 10e6;
    for (CalPin& pin : attempt.cal->pins) {
        pin.setupMargin.reset();
        pin.holdMargin.reset();
    }
    return set;
}

TEST(RunVerdict, MarginsOfASlowClockAreThoseOfItsBurst) {
    const RunVerdict verdict = judged(with(keptAtASlowClock(), compared(3'000'000'000)));
    EXPECT_EQ(verdict.kind, Kind::Sound);
    EXPECT_TRUE(verdict.worstMargin.has_value());
}

TEST(RunVerdict, MarginsThatNothingShowsAreUnknownWhateverTheWordsSay) {
    DiagnosticSet set = keptAtASlowClock();
    for (BurstPin& pin : set.attempts.front().burst->pins) {
        // The clock hardly changes in the whole burst.
        std::fill(pin.levels.begin(), pin.levels.end(), std::uint8_t{0});
        std::fill(pin.levels.begin() + static_cast<std::ptrdiff_t>(pin.levels.size() / 2), pin.levels.end(),
                  std::uint8_t{1});
    }
    const RunVerdict verdict = judged(with(set, compared(3'000'000'000)));
    EXPECT_EQ(verdict.kind, Kind::Unknown);
    EXPECT_EQ(firstOf(verdict), "margins-not-measured");
}

TEST(RunVerdict, AFaultComesBeforeMissingEvidence) {
    DiagnosticSet set = with(kept(), compared(1000, 7));
    set.attempts.front().burst.reset();
    set.attempts.front().cal.reset();
    const RunVerdict verdict = judged(set);
    EXPECT_EQ(verdict.kind, Kind::Fault);
    EXPECT_EQ(firstOf(verdict), "words-wrong");
    EXPECT_GT(verdict.reasons.size(), 1U);
}

TEST(RunVerdict, TheReceiversFailureIsAFaultAndAnInterruptionIsNot) {
    DiagnosticSet set = kept();
    set.checks.emplace().code = ExitCode::RecordingError;
    set.checks->failure = "the buffer overflowed";
    EXPECT_EQ(judged(set).kind, Kind::Fault);
    EXPECT_EQ(judged(set).reasons.front().text, "the buffer overflowed");
    set.checks->code = ExitCode::Interrupted;
    EXPECT_EQ(judged(set).kind, Kind::Unknown);
}

TEST(RunVerdict, ARecordingWithSamplesMissingOrDamageIsAFault) {
    DiagnosticSet set = kept();
    auto& recording = set.checks.emplace().recordings.emplace_back();
    recording.announcedSamples = 100;
    recording.samples = 99;
    EXPECT_EQ(firstOf(judged(set)), "missing-samples");
    recording.samples = 100;
    EXPECT_EQ(judged(set).kind, Kind::Sound);
    StreamCheck stream;
    stream.verdict = StreamVerdict::Damaged;
    Damage damage;
    damage.kind = DamageKind::DriftLate;
    damage.lane = 1;
    stream.firstDamage = damage;
    recording.stream = stream;
    EXPECT_EQ(firstOf(judged(set)), "drift-late");
}

TEST(RunVerdict, AFileThatWasLeftOutMakesItUnknown) {
    DiagnosticSet set = kept();
    set.troubles.emplace_back("run.freq1.reg.txt:3: no value");
    EXPECT_EQ(firstOf(judged(set)), "files-damaged");
}

TEST(RunVerdict, ExitCodesFollowTheVerdictUnlessTheRunFailed) {
    RunVerdict verdict;
    verdict.kind = Kind::Fault;
    EXPECT_EQ(exitCodeOf(verdict, ExitCode::Done, false), ExitCode::FaultsFound);
    EXPECT_EQ(exitCodeOf(verdict, ExitCode::RecordingError, true), ExitCode::RecordingError);
    for (const Kind kind : {Kind::Thin, Kind::Unknown}) {
        verdict.kind = kind;
        EXPECT_EQ(exitCodeOf(verdict, ExitCode::Done, false), ExitCode::Done);
        EXPECT_EQ(exitCodeOf(verdict, ExitCode::Done, true), ExitCode::FaultsFound);
    }
    verdict.kind = Kind::Sound;
    EXPECT_EQ(exitCodeOf(verdict, ExitCode::Done, true), ExitCode::Done);
}

} // namespace
} // namespace diagnosis
