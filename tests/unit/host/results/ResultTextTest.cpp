#include "host/results/ResultText.h"
#include "tests/support/json_schema/JsonSchema.h"
#include "toolkit/Table.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <limits>

namespace host {
namespace {

using testing::HasSubstr;
using testing::Not;

RecordResult sample() {
    RecordResult result;
    result.scenario = "bench-cable";
    result.cpu = "bench/app";
    result.pinMap = "0,1,2";
    result.calibrated = true;
    result.log.frequencies = {{0, 1.25e7, diagnosis::FrequencySetting::Verdict::Measured, ""},
                              {1, 5e7, diagnosis::FrequencySetting::Verdict::Chosen, ""},
                              {2, 1e8, diagnosis::FrequencySetting::Verdict::Rejected,
                               "eCALIBRATE(12) : failed to calibrate channel : clock margin too low"}};
    result.calibration.emplace();
    result.calibration->dataRate = "200.00 Mbits/second";
    result.calibration->rates = {5e7, 1e8, 2e8, 28.0};
    result.doctorTakes = "the run";
    for (const char* name : {"Clock", "Data 1", "Data 2"}) {
        diagnosis::CalPin pin;
        pin.name = name;
        pin.delay = 7;
        pin.stretch = -1;
        result.calibration->pins.push_back(pin);
    }
    result.calibration->pins[1].holdMargin = 5;
    result.calibration->pins[1].setupMargin = 6;
    result.attempts = {
        {{2, 1e8, "edge", false, "eCALIBRATE(12) : failed to calibrate channel : clock margin too low"}, {}},
        {{1, 5e7, "center", true, ""}, result.calibration}};
    result.recordings = {{"Stopped by user : upload complete", 1.0, 1024, false, 0xCBF43926}};
    result.files.push_back({"samples", "samples", "x.bin"});
    result.verdict.emplace();
    return result;
}

/// They fit their schemas too.
nlohmann::json jsonOf(const RecordResult& result) {
    const nlohmann::json json = nlohmann::json::parse(recordJson(result).dump());
    EXPECT_EQ(test_support::schemaFaults("record", json.dump()), "");
    RecordResult calibrated = result;
    calibrated.files.clear();
    EXPECT_EQ(test_support::schemaFaults("calibrate", calibrationJson(calibrated).dump()), "");
    return json;
}

TEST(Places, TheLastDataPinOfTheMapIsSampledFirst) {
    const auto places = placesOf("0,1,2,3,4");
    ASSERT_EQ(places.size(), 5U);
    EXPECT_EQ(places[0].emu, 0U);
    EXPECT_FALSE(places[0].bit);
    EXPECT_EQ(places[1].emu, 4U);
    EXPECT_EQ(places[1].bit, 3U);
    EXPECT_EQ(places[4].emu, 1U);
    EXPECT_EQ(places[4].bit, 0U);
}

TEST(Places, AMapThatCannotBeReadHasNone) {
    EXPECT_TRUE(placesOf("").empty());
    EXPECT_TRUE(placesOf("a,b").empty());
}

TEST(ResultText, TellsChosenRejectedPinsAndFiles) {
    const std::string text = resultText(sample(), toolkit::Table::unlimited);
    EXPECT_THAT(text, HasSubstr("calibrated at 50 MHz, setting 1 (of 0 to 2), data rate 200.00 Mbits/second"));
    EXPECT_THAT(text, HasSubstr("rejected: setting 2, 100 MHz: failed to calibrate channel : clock margin too low\n"));
    EXPECT_THAT(text, HasSubstr("Data 1    2    1      7       -1      6     5            -\n"));
    EXPECT_THAT(text, HasSubstr("recorded 8.00 KiB (1024 samples)"));
    EXPECT_THAT(text, HasSubstr("CRC-32 cbf43926"));
    EXPECT_THAT(text, HasSubstr("x.bin\n"));
}

TEST(ResultText, APinThatNeverChangesHasNoCorrelation) {
    RecordResult result = sample();
    result.calibration->pins[1].correlationAtZero = std::numeric_limits<double>::quiet_NaN();
    EXPECT_THAT(resultText(result, toolkit::Table::unlimited), HasSubstr("    6     5            -\n"));
    EXPECT_TRUE(jsonOf(result)["calibration"]["pins"][1]["correlationAtZero"].is_null());
}

TEST(ResultText, ACalibrationThatEndedBeforeItsFirstAttemptHasNoPins) {
    RecordResult result = sample();
    result.calibrated = false;
    result.attempts.clear();
    EXPECT_THAT(resultText(result, toolkit::Table::unlimited), Not(HasSubstr("Data 1")));
    EXPECT_THAT(attemptsText(result, toolkit::Table::unlimited), Not(HasSubstr("Data 1")));
    EXPECT_THAT(attemptsText(result, toolkit::Table::unlimited), Not(HasSubstr("Lengths are in samples")));
}

TEST(ResultText, GivenValuesWithoutAnAttemptAreTold) {
    RecordResult result = sample();
    result.attempts.clear();
    EXPECT_THAT(resultText(result, toolkit::Table::unlimited), HasSubstr("Data 1"));
    EXPECT_THAT(attemptsText(result, toolkit::Table::unlimited), HasSubstr("Data 1"));
}

TEST(ResultText, WithoutAMeasuredFrequencyThereIsNoDataRate) {
    RecordResult result = sample();
    result.log.frequencies.clear();
    result.givenValues = true;
    result.calibration->rates = {};
    result.calibration->dataRate = "0.00 ybits/second";
    EXPECT_THAT(resultText(result, toolkit::Table::unlimited),
                HasSubstr("calibrated with fixed values, no frequency was measured, in "));
    EXPECT_THAT(resultText(result, toolkit::Table::unlimited), Not(HasSubstr("bits/second")));
}

TEST(ResultText, BelowTheSlowestAnalysedClockTheLegendSaysThatNothingIsMeasured) {
    RecordResult result = sample();
    EXPECT_THAT(resultText(result, toolkit::Table::unlimited), HasSubstr("Lengths are in samples"));
    result.calibration->rates.exportFrequency = 9e6;
    EXPECT_THAT(resultText(result, toolkit::Table::unlimited),
                HasSubstr("Below 10.1 MHz nothing is measured: the unit keeps its default settings"));
    EXPECT_THAT(resultText(result, toolkit::Table::unlimited), Not(HasSubstr("Lengths are in samples")));
}

TEST(ResultText, WithoutALogAFrequencyIsNotCalledUnmeasured) {
    RecordResult result = sample();
    result.log = {};
    result.attempts.clear();
    result.hertz = 5e7;
    EXPECT_THAT(resultText(result, toolkit::Table::unlimited),
                HasSubstr("calibrated at 50 MHz, its setting is not known, data rate"));
    const auto calibration = jsonOf(result).at("calibration");
    EXPECT_EQ(calibration.at("hertz"), 5e7);
    EXPECT_TRUE(calibration.at("setting").is_null());
    result.hertz.reset();
    EXPECT_THAT(resultText(result, toolkit::Table::unlimited),
                HasSubstr("calibrated, at which frequency is not known, data rate"));
    EXPECT_TRUE(jsonOf(result).at("calibration").at("hertz").is_null());
}

TEST(ResultText, NamesOfOthersCannotBreakALineOrReachTheTerminal) {
    RecordResult result = sample();
    result.cpu = "bench/\x1b[31mapp\nrecorded";
    result.recordings.front().state = "Stopped\nby";
    result.files.push_back({"benchFolder", "bench", "/tmp/a\nb"});
    const std::string text = resultText(result, toolkit::Table::unlimited);
    EXPECT_THAT(text, HasSubstr("cpu bench/?[31mapp?recorded\n"));
    EXPECT_THAT(text, HasSubstr("Stopped?by"));
    EXPECT_THAT(text, HasSubstr("/tmp/a?b\n"));
}

TEST(ResultText, TheOnlySettingHasNoRange) {
    RecordResult result = sample();
    result.log.frequencies = {{0, 5e7, diagnosis::FrequencySetting::Verdict::Chosen, ""}};
    EXPECT_THAT(resultText(result, toolkit::Table::unlimited), HasSubstr("calibrated at 50 MHz, setting 0, data rate"));
}

TEST(ResultText, EndsWithWhatCanBeDoneNext) {
    RecordResult result = sample();
    EXPECT_THAT(resultText(result, toolkit::Table::unlimited),
                testing::EndsWith("\nnext: orvtrace report \"the run\" makes a page about the calibration\n"));
    result.files.push_back({"report", "report", "p.html"});
    EXPECT_THAT(attemptsText(result, toolkit::Table::unlimited),
                testing::EndsWith("\nnext: open p.html in a browser\n"));
}

TEST(ResultText, SeveralRecordingsAreNumbered) {
    RecordResult result = sample();
    EXPECT_THAT(resultText(result, toolkit::Table::unlimited), Not(HasSubstr("1: recorded")));
    result.recordings.push_back(result.recordings.front());
    EXPECT_THAT(resultText(result, toolkit::Table::unlimited), HasSubstr("\n1: recorded"));
    EXPECT_THAT(resultText(result, toolkit::Table::unlimited), HasSubstr("\n2: recorded"));
}

TEST(AttemptsText, HasATableForEachAttemptAndTheVerdict) {
    const std::string text = attemptsText(sample(), toolkit::Table::unlimited);
    const std::size_t first = text.find("setting 2, 100 MHz, clock taken half a period later\n"
                                        "rejected: failed to calibrate channel : clock margin too low\n");
    const std::size_t second = text.find("setting 1, 50 MHz, ");
    EXPECT_NE(first, std::string::npos) << text;
    EXPECT_NE(second, std::string::npos) << text;
    EXPECT_LT(first, second);
    EXPECT_THAT(text, HasSubstr("setting 1, 50 MHz, 28.00 samples a clock period, clock taken as it comes\npin "));
    EXPECT_THAT(text, HasSubstr("\naccepted\n"));
    EXPECT_THAT(text, HasSubstr("calibrated at 50 MHz, setting 1 (of 0 to 2), data rate 200.00 Mbits/second"));
    EXPECT_THAT(text, HasSubstr("not tried: setting 0, 12.5 MHz\n"));
}

TEST(ResultText, AFailedCalibrationNamesNoChosenSetting) {
    RecordResult result = sample();
    result.calibrated = false;
    result.recordings.clear();
    result.log.frequencies[1].verdict = diagnosis::FrequencySetting::Verdict::Measured;
    const std::string text = resultText(result, toolkit::Table::unlimited);
    EXPECT_THAT(text, HasSubstr("not calibrated\n"));
    EXPECT_THAT(text, Not(HasSubstr("calibrated at")));
    EXPECT_THAT(text, Not(HasSubstr("recorded")));
}

TEST(ResultJson, HoldsTheSameForAScript) {
    const auto json = jsonOf(sample());
    EXPECT_EQ(json["outcome"], "done");
    EXPECT_EQ(json["exitCode"], 0);
    EXPECT_EQ(json["calibration"]["setting"], 1);
    EXPECT_EQ(json["calibration"]["frequencies"][2]["verdict"], "rejected");
    EXPECT_EQ(json["calibration"]["pins"][1]["emuPin"], 2);
    EXPECT_EQ(json["calibration"]["pins"][1]["holdMargin"], 5) << "the file's -";
    EXPECT_EQ(json["calibration"]["pins"][1]["setupMargin"], 6) << "the file's +";
    EXPECT_TRUE(json["calibration"]["pins"][0]["setupMargin"].is_null());
    EXPECT_EQ(json["calibration"]["attempts"][0]["setting"], 2);
    EXPECT_TRUE(json["calibration"]["attempts"][0]["pins"].is_null());
    EXPECT_EQ(json["calibration"]["attempts"][1]["verdict"], "accepted");
    EXPECT_EQ(json["calibration"]["attempts"][0]["verdict"], "rejected");
    EXPECT_EQ(json["emuPins"], nlohmann::json({0, 1, 2}));
    EXPECT_EQ(json["calibration"]["pins"][1]["name"], "data1");
    EXPECT_EQ(json["calibration"]["attempts"][1]["position"], "center");
    EXPECT_EQ(json["calibration"]["attempts"][1]["pins"].size(), 3U);
    EXPECT_EQ(json["recordings"].size(), 1U);
    EXPECT_EQ(json["recordings"][0]["bytes"], 8192);
    EXPECT_EQ(json["recordings"][0]["crc32"], 0xCBF43926U);
    EXPECT_TRUE(json["error"].is_null());
}

TEST(ResultJson, DamagedReportsAreNamed) {
    RecordResult result = sample();
    EXPECT_TRUE(jsonOf(result)["damaged"].empty());
    result.troubles = {"x.cal.txt:3: cut off"};
    EXPECT_EQ(jsonOf(result)["damaged"].dump(), R"(["x.cal.txt:3: cut off"])");
}

TEST(ResultJson, AFailureIsNamed) {
    RecordResult result;
    result.verdict.emplace();
    result.code = toolkit::ExitCode::CalibrationRefused;
    result.failure = "failed to calibrate channel";
    const auto json = jsonOf(result);
    EXPECT_EQ(json["outcome"], "calibration-refused");
    EXPECT_EQ(json["exitCode"], 5);
    EXPECT_EQ(json["error"]["text"], "failed to calibrate channel");
    EXPECT_TRUE(json["recordings"].empty());
}

} // namespace
} // namespace host
