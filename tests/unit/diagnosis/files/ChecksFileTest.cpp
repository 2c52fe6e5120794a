#include "diagnosis/analysis/DiagnosticSet.h"
#include "diagnosis/files/ChecksFile.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/unit/diagnosis/files/DrawnFiles.h"
#include "toolkit/ExitCode.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

// What was checked of a run: written, read back, and read from damaged files.

namespace diagnosis {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

Damage someDamage() {
    Damage damage;
    damage.kind = DamageKind::Swapped;
    damage.place = {4096, 512, 12.5, 0.25};
    damage.lane = 0;
    damage.carries = 3;
    damage.amount = 7;
    damage.amountIsLeast = true;
    damage.atBlock = true;
    return damage;
}

WordCheck someWords() {
    WordCheck words;
    words.when = WordCheck::When::After;
    words.pattern = "walk";
    words.askedErrorRate = 1e-8;
    words.bits = 300'000'000'000;
    words.errors = 12;
    words.lanes = {{0, 5, 1, 2}, {3, 7, 0, 7}};
    words.failure = "interrupted";
    words.firstDamage = someDamage();
    return words;
}

StreamCheck someStream() {
    StreamCheck stream;
    stream.form = {StreamMode::Pti, 4, "ramp1", 5e7, 131072};
    stream.modeRecognised = true;
    stream.verdict = StreamVerdict::Damaged;
    stream.bytes = 1;
    stream.samples = 2;
    stream.tracePackets = 3;
    stream.otherPackets = 4;
    stream.badTrailers = 5;
    stream.cutPackets = 6;
    stream.words = 7;
    stream.padding = 8;
    stream.wordsCompared = 9;
    stream.wordsJudged = 10;
    stream.wrongWords = 11;
    stream.sequences = 12;
    stream.halfSequences = 13;
    stream.sequencesDamaged = 14;
    stream.wordsBetween = 15;
    stream.lostWords = 16;
    stream.insertedWords = 17;
    stream.gaps = 18;
    stream.firstDamage = someDamage();
    stream.damages = {someDamage(), Damage{}};
    stream.damageCount = 19;
    stream.lanes = {{2, DamageKind::DriftLate, 20, 21, 22, 1, {16, 2, 0.5, std::nullopt}}};
    return stream;
}

RunChecks someChecks() {
    RunChecks checks;
    checks.code = toolkit::ExitCode::RecordingError;
    checks.failure = "data server error (7)";
    checks.words = {someWords(), WordCheck{}};
    checks.recordings = {{131072, 131000, "the disk is full", someStream()}, RecordingCheck{}};
    return checks;
}

std::string failureOf(const std::string& text) {
    try {
        parseRunChecks(text, "run.checks.json");
    } catch (const toolkit::Failure& failure) {
        EXPECT_EQ(failure.code, toolkit::ExitCode::BadInput);
        return failure.what();
    }
    return "no failure";
}

void expectSameDamage(const Damage& read, const Damage& written) {
    EXPECT_EQ(read.kind, written.kind);
    EXPECT_EQ(read.place.byte, written.place.byte);
    EXPECT_EQ(read.place.sample, written.place.sample);
    EXPECT_EQ(read.place.percent, written.place.percent);
    EXPECT_EQ(read.place.seconds, written.place.seconds);
    EXPECT_EQ(read.lane, written.lane);
    EXPECT_EQ(read.carries, written.carries);
    EXPECT_EQ(read.amount, written.amount);
    EXPECT_EQ(read.amountIsLeast, written.amountIsLeast);
    EXPECT_EQ(read.atBlock, written.atBlock);
}

TEST(ChecksFile, TheWordsComeBackAsTheyWereWritten) {
    const RunChecks read = parseRunChecks(runChecksText(someChecks()), "x");
    ASSERT_EQ(read.words.size(), 2U);
    const WordCheck& words = read.words[0];
    EXPECT_EQ(words.when, WordCheck::When::After);
    EXPECT_EQ(words.pattern, "walk");
    EXPECT_EQ(words.askedErrorRate, 1e-8);
    EXPECT_EQ(words.bits, 300'000'000'000U);
    EXPECT_EQ(words.errors, 12U);
    EXPECT_EQ(words.failure, "interrupted");
    ASSERT_EQ(words.lanes.size(), 2U);
    EXPECT_EQ(words.lanes[1].lane, 3U);
    EXPECT_EQ(words.lanes[1].errors, 7U);
    EXPECT_EQ(words.lanes[0].early, 1U);
    EXPECT_EQ(words.lanes[0].late, 2U);
    ASSERT_TRUE(words.firstDamage);
    expectSameDamage(*words.firstDamage, someDamage());
    EXPECT_EQ(read.words[1].when, WordCheck::When::Alone);
    EXPECT_FALSE(read.words[1].firstDamage);
}

TEST(ChecksFile, TheRecordingsComeBackAsTheyWereWritten) {
    const RunChecks read = parseRunChecks(runChecksText(someChecks()), "x");
    EXPECT_EQ(read.code, toolkit::ExitCode::RecordingError);
    EXPECT_EQ(read.failure, "data server error (7)");
    ASSERT_EQ(read.recordings.size(), 2U);
    EXPECT_EQ(read.recordings[0].announcedSamples, 131072U);
    EXPECT_EQ(read.recordings[0].samples, 131000U);
    EXPECT_EQ(read.recordings[0].failure, "the disk is full");
    EXPECT_FALSE(read.recordings[1].stream);
    ASSERT_TRUE(read.recordings[0].stream);
    const StreamCheck& stream = *read.recordings[0].stream;
    EXPECT_EQ(stream.form.mode, StreamMode::Pti);
    EXPECT_EQ(stream.form.announcedSamples, 131072U);
    EXPECT_EQ(stream.verdict, StreamVerdict::Damaged);
    ASSERT_EQ(stream.damages.size(), 2U);
    expectSameDamage(stream.damages[0], someDamage());
    ASSERT_EQ(stream.lanes.size(), 1U);
    EXPECT_EQ(stream.lanes[0].kind, DamageKind::DriftLate);
    EXPECT_EQ(stream.lanes[0].carries, 1U);
    EXPECT_EQ(stream.lanes[0].likePreceding, 21U);
}

TEST(ChecksFile, TheValuesThatTheHostSetComeBackAsTheyWereWritten) {
    RunChecks checks;
    EXPECT_FALSE(parseRunChecks(runChecksText(checks), "x").given);
    checks.given = GivenSetting{"kept", "monday", 3};
    const RunChecks back = parseRunChecks(runChecksText(checks), "x");
    ASSERT_TRUE(back.given);
    EXPECT_EQ(back.given->origin, "kept");
    EXPECT_EQ(back.given->from, "monday");
    EXPECT_EQ(back.given->setting, 3U);
}

TEST(ChecksFile, NothingIsLostOverAWriteAndARead) {
    const std::string text = runChecksText(someChecks());
    EXPECT_EQ(runChecksText(parseRunChecks(text, "x")), text);
    EXPECT_EQ(runChecksText(parseRunChecks(runChecksText({}), "x")), runChecksText({}));
}

TEST(ChecksFile, EveryCountHasAKeyOfItsOwn) {
    const auto stream = nlohmann::json::parse(runChecksText(someChecks()))["recordings"][0]["stream"];
    std::vector<std::uint64_t> counts;
    for (const auto& [key, value] : stream.items()) {
        if (value.is_number_unsigned() && value != 131072 && key != "dataPins") {
            counts.push_back(value.get<std::uint64_t>());
        }
    }
    std::vector<std::uint64_t> expected;
    for (std::uint64_t i = 1; i <= 19; ++i) {
        expected.push_back(i);
    }
    EXPECT_THAT(counts, testing::UnorderedElementsAreArray(expected));
}

TEST(ChecksFile, UnknownKeysAreIgnoredAndMissingOnesLeaveADefault) {
    const RunChecks read =
        parseRunChecks(R"({"schema":1,"new":[1],"words":[{"bits":5,"more":{}}],"recordings":[{"stream":null}]})", "x");
    EXPECT_EQ(read.code, toolkit::ExitCode::Done);
    ASSERT_EQ(read.words.size(), 1U);
    EXPECT_EQ(read.words[0].bits, 5U);
    ASSERT_EQ(read.recordings.size(), 1U);
    EXPECT_FALSE(read.recordings[0].stream);
}

TEST(ChecksFile, DamageNamesTheFileAndTheKey) {
    EXPECT_THAT(failureOf(""), HasSubstr("run.checks.json: no JSON"));
    EXPECT_THAT(failureOf("[]"), HasSubstr("an object"));
    EXPECT_THAT(failureOf(R"({"schema":2})"),
                HasSubstr("another version of orvtrace wrote it, schema 2; this version reads schema 1"));
    EXPECT_THAT(failureOf(R"({"exitCode":11})"), HasSubstr("exitCode"));
    EXPECT_THAT(failureOf(R"({"exitCode":-1})"), HasSubstr("exitCode"));
    EXPECT_THAT(failureOf(R"({"words":{}})"), HasSubstr("words"));
    EXPECT_THAT(failureOf(R"({"words":[3]})"), HasSubstr("an object"));
    EXPECT_THAT(failureOf(R"({"words":[{"when":"never"}]})"), HasSubstr("when"));
    EXPECT_THAT(failureOf(R"({"words":[{"bits":1.5}]})"), HasSubstr("bits"));
    EXPECT_THAT(failureOf(R"({"words":[{"pattern":7}]})"), HasSubstr("pattern"));
    EXPECT_THAT(failureOf(R"({"words":[{"lanes":[{"lane":"data17"}]}]})"), HasSubstr("lane"));
    EXPECT_THAT(failureOf(R"({"words":[{"lanes":[{"lane":"data0"}]}]})"), HasSubstr("lane"));
    EXPECT_THAT(failureOf(R"({"words":[{"firstDamage":{"kind":"rust"}}]})"), HasSubstr("kind"));
    EXPECT_THAT(failureOf(R"({"recordings":[{"stream":{"dataPins":4294967296}}]})"), HasSubstr("dataPins"));
    EXPECT_THAT(failureOf(R"({"recordings":[{"stream":{"verdict":"damaged"}}]})"), HasSubstr("firstDamage"));
    EXPECT_THAT(failureOf(R"({"recordings":[{"stream":{"exportKindRecognised":1}}]})"),
                HasSubstr("exportKindRecognised"));
}

TEST(ChecksFile, ACutFileIsDamageAtAnyByte) {
    const std::string text = runChecksText(someChecks());
    const std::size_t end = text.find_last_of('}');
    for (std::size_t length = 0; length <= end; length += 7) {
        EXPECT_THAT(failureOf(text.substr(0, length)), HasSubstr("no JSON")) << length;
    }
}

TEST(ChecksFile, ARunWithOneHasItsChecksAndADamagedOneIsATrouble) {
    const test_support::TemporaryFolder folder;
    folder.write("run.cal.txt", drawn::report({{2, 1}}));
    EXPECT_FALSE(readDiagnostics(folder.path).checks);
    folder.write("run.checks.json", runChecksText(someChecks()));
    const DiagnosticSet set = readDiagnostics(folder.path);
    ASSERT_TRUE(set.checks);
    EXPECT_EQ(set.checks->words.size(), 2U);
    folder.write("run.checks.json", "{");
    const DiagnosticSet damaged = readDiagnostics(folder.path);
    EXPECT_FALSE(damaged.checks);
    ASSERT_EQ(damaged.troubles.size(), 1U);
    EXPECT_THAT(damaged.troubles[0], HasSubstr("run.checks.json: no JSON"));
}

TEST(ErrorRateBound, IsThreeOverTheBitsWithoutAnErrorAndFollowsPoissonWithSome) {
    EXPECT_EQ(errorRateBound(0, 0), 1.0);
    EXPECT_EQ(errorRateBound(1, 0), 1.0) << "no rate is above 1";
    EXPECT_DOUBLE_EQ(errorRateBound(300'000'000, 0), 1e-8);
    // Upper limits of a Poisson mean at 95 %, from its distribution.
    EXPECT_NEAR(errorRateBound(1000, 1) * 1000, 4.744, 0.03);
    EXPECT_NEAR(errorRateBound(1000, 10) * 1000, 16.962, 0.05);
    EXPECT_NEAR(errorRateBound(1'000'000, 100) * 1e6, 118.08, 0.1);
    EXPECT_EQ(errorRateBound(10, 10), 1.0);
    WordCheck words;
    words.bits = 300;
    EXPECT_DOUBLE_EQ(words.bound(), 0.01);
}

TEST(ErrorRateBound, AsManyBitsAsExcludeARateExcludeIt) {
    EXPECT_EQ(bitsThatExclude(1e-8), 300'000'000U);
    for (const double rate : {1e-3, 3e-7, 1.5e-6, 1e-12}) {
        EXPECT_LE(errorRateBound(bitsThatExclude(rate), 0), rate);
        EXPECT_GT(errorRateBound(bitsThatExclude(rate) - 1, 0), rate * 0.999);
    }
}

TEST(ChecksFile, NamesOfPinsAreKeptAndBadOnesAreDamage) {
    RunChecks checks;
    checks.names = toolkit::LaneNames::parse("TCLK,TD1,TD0");
    const RunChecks read = parseRunChecks(runChecksText(checks), "x");
    EXPECT_EQ(read.names.label({2, 2, {}}), "TD0");
    EXPECT_TRUE(parseRunChecks("{}", "x").names.empty()) << "a file of an earlier version";
    for (const char* bad :
         {R"({"names": 5})", R"({"names": {"D0": 1}})", R"({"names": {"Q": "x"}})", R"({"names": {"D0": "a b"}})"}) {
        EXPECT_THROW(parseRunChecks(bad, "x"), toolkit::Failure) << bad;
    }
}

} // namespace
} // namespace diagnosis
