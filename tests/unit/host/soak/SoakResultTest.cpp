#include "host/soak/SoakResult.h"
#include "tests/support/json_schema/JsonSchema.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace host {
namespace {

using testing::HasSubstr;

SoakResult sample() {
    SoakResult result;
    result.scenario = "self-test";
    result.dataPins = 4;
    result.dataRate = "400.00 Mbits/second";
    result.bitsPerSecond = 4e8;
    result.rounds = 3;
    result.words = 3000000;
    result.seconds = 2.0;
    result.files.push_back({"log", "log", "x.txt"});
    result.verdict.emplace();
    return result;
}

SoakResult faulty() {
    SoakResult result = sample();
    result.errors = 2;
    result.firstErrors = {{1, {2, 45, 0x1235, 0x1234}}, {3, {0, 0, 0xFFFF, std::nullopt}}};
    return result;
}

GeneratorCheck checkOf(std::uint64_t sample) {
    GeneratorCheck check(4, Framing::Words);
    check.take(std::span(&sample, 1));
    return check;
}

constexpr std::uint64_t rightWords = 0xDEF09ABC56781234;
constexpr std::uint64_t oneWrong = 0xDEF09ABC56791234;

TEST(SoakResult, RoundsAddUpAndErrorsKeepTheirRound) {
    SoakResult result;
    result.addRound(checkOf(rightWords));
    result.addRound(checkOf(oneWrong));
    EXPECT_EQ(result.rounds, 2U);
    EXPECT_EQ(result.words, 8U);
    EXPECT_EQ(result.errors, 1U);
    ASSERT_EQ(result.firstErrors.size(), 1U);
    EXPECT_EQ(result.firstErrors[0].round, 2U);
    EXPECT_EQ(result.firstErrors[0].error.byte(), 2U);
}

TEST(SoakResult, TheFirstErrorsOfAllAreKept) {
    SoakResult result;
    for (unsigned round = 1; round <= 12; ++round) {
        result.addRound(checkOf(oneWrong));
    }
    EXPECT_EQ(result.errors, 12U);
    ASSERT_EQ(result.firstErrors.size(), GeneratorCheck::errorsKept);
    EXPECT_EQ(result.firstErrors.back().round, 10U);
}

TEST(SoakVerdict, SoundRoundsHaveNone) {
    EXPECT_FALSE(verdictOf(sample()));
}

TEST(SoakVerdict, AnInterruptionOfSoundRoundsIsOne) {
    SoakResult result = sample();
    result.interrupted = true;
    ASSERT_TRUE(verdictOf(result));
    EXPECT_EQ(verdictOf(result)->code, toolkit::ExitCode::Interrupted);
    EXPECT_STREQ(verdictOf(result)->what(), "interrupted; the rounds until then were in order");
}

TEST(SoakVerdict, WrongWordsWeighMoreThanAnInterruption) {
    SoakResult result = faulty();
    ASSERT_TRUE(verdictOf(result));
    EXPECT_EQ(verdictOf(result)->code, toolkit::ExitCode::FaultsFound);
    EXPECT_STREQ(verdictOf(result)->what(), "2 words came back wrong");
    result.interrupted = true;
    EXPECT_EQ(verdictOf(result)->code, toolkit::ExitCode::FaultsFound);
    EXPECT_STREQ(verdictOf(result)->what(), "2 words came back wrong; interrupted by the user");
}

TEST(SoakText, TellsWhatWasCheckedAndHowMuch) {
    EXPECT_EQ(soakText(sample()),
              "the simulated unit's own generator, which bypasses the wiring, scenario self-test, 4 data pins, "
              "400.00 Mbits/second\n"
              "3 rounds, each calibrated and recorded anew, in 2.0 s\n"
              "3000000 words checked, 0 errors; 1.50 million words a second over all\n");
    SoakResult real = sample();
    real.scenario.clear();
    EXPECT_THAT(soakText(real), testing::StartsWith("the capture unit's own generator, 4 data pins"));
}

TEST(SoakText, WrongWordsAreATable) {
    EXPECT_THAT(soakText(faulty()), HasSubstr("3000000 words checked, 2 errors; "));
    EXPECT_THAT(soakText(faulty()), HasSubstr("\nround  packet  word  byte  expected     got\n"
                                              "    1       2    45  1114    0x1234  0x1235\n"
                                              "    3       0     0     0         -  0xffff\n"));
}

TEST(SoakText, WithoutARoundThereIsNothingToTell) {
    EXPECT_EQ(soakText(SoakResult()), "");
}

TEST(SoakJson, HasEveryFigure) {
    SoakResult result = sample();
    result.properties = {{"cpi", "5"}};
    auto json = soakJson(result);
    EXPECT_EQ(test_support::schemaFaults("soak", json.dump()), "");
    EXPECT_EQ(json.at("verdict"), diagnosis::verdictJson(*result.verdict));
    json.erase("verdict");
    EXPECT_EQ(json, nlohmann::json::parse(R"({"schema": 1, "outcome": "done", "exitCode": 0, "error": null,
        "interrupted": false, "scenario": "self-test", "dataPins": 4, "bitsPerSecond": 4e8, "rounds": 3,
        "seconds": 2.0, "words": 3000000, "wordsPerSecond": 1500000.0, "wrongWords": 0, "firstWrongWords": [],
        "properties": [{"name": "cpi", "value": "5"}], "files": {"log": "x.txt"}, "notes": [], "damaged": []})"));
}

TEST(SoakJson, WrongWordsAreNumbersAndAnUnknownOneIsNull) {
    SoakResult result = faulty();
    result.code = toolkit::ExitCode::FaultsFound;
    result.failure = "2 words came back wrong";
    const auto json = soakJson(result);
    EXPECT_EQ(json.at("outcome"), "faults-found");
    EXPECT_EQ(json.at("error").at("text"), "2 words came back wrong");
    EXPECT_EQ(test_support::schemaFaults("soak", json.dump()), "");
    EXPECT_EQ(json.at("firstWrongWords"), nlohmann::json::parse(R"([
        {"round": 1, "packet": 2, "word": 45, "byte": 1114, "expected": 4660, "got": 4661},
        {"round": 3, "packet": 0, "word": 0, "byte": 0, "expected": null, "got": 65535}])"));
}

TEST(SoakJson, WhatWasNotReachedIsNull) {
    SoakResult none;
    none.verdict.emplace();
    const auto json = soakJson(none);
    EXPECT_EQ(test_support::schemaFaults("soak", json.dump()), "");
    for (const char* key : {"dataPins", "bitsPerSecond", "wordsPerSecond"}) {
        EXPECT_TRUE(json.at(key).is_null()) << key;
    }
    EXPECT_TRUE(json.at("files").is_object());
}

} // namespace
} // namespace host
