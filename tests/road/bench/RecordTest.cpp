#include "tests/road/Orvtrace.h"

#include <gmock/gmock.h>

// What a user meets around a recording: settings, folders, outputs, several recordings.

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

TEST(Inputs, SettingsThatTheReceiverRefusesAreCodeThreeAndTheFileStays) {
    const RunSpace space;
    const std::string text = "<CHANNEL-SETUP>\n\t<num_pins>3</num_pins>\n</CHANNEL-SETUP>\n";
    const auto file = space.write("mine.xml", text);
    const Outcome run = space.record("clean", {"--settings", file.string()});
    EXPECT_EQ(run.code, 3) << run.errors;
    EXPECT_THAT(run.errors, HasSubstr("cannot use these settings: "));
    EXPECT_EQ(readBytes(file), text);
    EXPECT_FALSE(run.json.contains("recording"));
}

TEST(Inputs, DamagedSettingsAreCodeThreeAndNamedAsTheUserNamedThem) {
    for (const char* text : {"", "<CHANNEL-SETUP>\n\t<num_p", "\x01\xFF<>&\x80 no settings"}) {
        const RunSpace space;
        const auto file = space.write("mine.xml", text);
        const Outcome run = space.record("clean", {"--settings", file.string()});
        EXPECT_EQ(run.code, 3) << run.errors;
        const std::string told = withoutProgress(run.errors);
        EXPECT_THAT(told,
                    testing::StartsWith("orvtrace: " + file.string() + ": the receiver cannot use these settings"));
        EXPECT_EQ(lines(told), 1U) << told;
        EXPECT_EQ(readBytes(file), text);
    }
}

TEST(Outputs, ASecondRunIntoAFolderNeedsForce) {
    const RunSpace space;
    ASSERT_EQ(space.record("one-pin").code, 0);
    EXPECT_EQ(space.record("one-pin").code, 8);
    const Outcome again = space.record("one-pin", {"--force"});
    EXPECT_EQ(again.code, 0) << again.errors;
}

TEST(Outputs, TextTellsPinsRateAndFiles) {
    const RunSpace space;
    const Outcome run = space.run({"record", "--scenario", "two-pin", "--out", space.file("run").string()});
    EXPECT_EQ(run.code, 0) << run.errors;
    EXPECT_THAT(withoutProgress(run.errors), IsEmpty());
    EXPECT_THAT(run.output, HasSubstr("calibrated at 50 MHz, setting 1 (of 0 to 1)"));
    EXPECT_THAT(run.output, HasSubstr("\nD1 "));
    EXPECT_THAT(run.output, HasSubstr("recorded 256.00 KiB"));
    EXPECT_THAT(run.output, HasSubstr("two-pin.bin"));
    // A carriage return may only be a part of the system's line end.
    for (std::size_t at = run.output.find('\r'); at != std::string::npos; at = run.output.find('\r', at + 1)) {
        EXPECT_EQ(run.output.substr(at, 2), "\r\n") << "no progress line when piped";
    }
}

TEST(Outputs, NothingOfTheUsersProfileIsTouched) {
    const RunSpace space;
    const Outcome run = space.record("one-pin");
    ASSERT_EQ(run.code, 0) << run.errors;
    const std::string folder = space.file("run").string();
    for (const auto& [what, where] : run.json.at("files").items()) {
        EXPECT_EQ(where.get<std::string>().rfind(folder, 0), 0U) << what << " " << where;
    }
}

TEST(Outputs, ProgressIsALineForEachPhaseOrNothing) {
    const RunSpace space;
    const Outcome run = space.record("one-pin");
    ASSERT_EQ(run.code, 0) << run.errors;
    EXPECT_THAT(run.errors, HasSubstr("orvtrace: starting the data server"));
    EXPECT_THAT(run.errors, HasSubstr("orvtrace: calibrating"));
    EXPECT_THAT(run.errors, HasSubstr("orvtrace: recording"));
    EXPECT_THAT(space.record("one-pin", {"--force", "--quiet"}).errors, IsEmpty());
}

TEST(Recordings, SeveralGoIntoOneFileSectionBySection) {
    const RunSpace space;
    const std::string saved = space.file("trace.tdf").string();
    const Outcome run = space.record(
        "one-pin", {"--repeat", "3", "--seconds", "0.05", "--save", saved, "--raw", space.file("raw.bin").string()});
    ASSERT_EQ(run.code, 0) << run.errors;
    EXPECT_THAT(run.errors, HasSubstr("orvtrace: 3 of 3: recording"));
    ASSERT_EQ(run.json.at("recordings").size(), 3U);
    EXPECT_FALSE(std::filesystem::exists(space.file("raw.bin")));
    const Outcome list = space.run({"tdf", "list", "--json", saved});
    ASSERT_EQ(list.json.at("sections").size(), 3U) << list.output;
    for (unsigned number = 1; number <= 3; ++number) {
        const auto raw = space.file("raw-" + std::to_string(number) + ".bin");
        const auto out = space.file("section-" + std::to_string(number));
        EXPECT_EQ(readBytes(raw).size(), run.json.at("recordings").at(number - 1).at("bytes").get<std::size_t>());
        const Outcome part = space.run({"tdf", "extract", saved, out.string(), "--number", std::to_string(number)});
        EXPECT_EQ(part.code, 0) << part.errors;
        EXPECT_TRUE(readBytes(out) == readBytes(raw)) << number;
    }
}

TEST(Recordings, PinsAreChosenByCountOrByList) {
    const RunSpace space;
    const Outcome two = space.record("clean", {"--pins", "2"});
    ASSERT_EQ(two.code, 0) << two.errors;
    EXPECT_EQ(two.json.at("calibration").at("pins").size(), 3U);
    EXPECT_EQ(two.json.at("emuPins"), nlohmann::json({5, 2, 3}));
    const Outcome list = space.record("clean", {"--pins", "0,1,2", "--force"});
    ASSERT_EQ(list.code, 0) << list.errors;
    EXPECT_EQ(list.json.at("emuPins"), nlohmann::json({0, 1, 2}));
    const Outcome refused = space.record("clean", {"--pins", "4,5", "--force"});
    EXPECT_EQ(refused.code, 5) << refused.errors;
    EXPECT_THAT(refused.errors,
                HasSubstr("the pin map specified in the receiver settings is not valid for this device"));
}

TEST(Recordings, TheBuffersSizeIsChosen) {
    const RunSpace space;
    const Outcome run = space.record("clean", {"--buffer", "512k", "--until-full"});
    ASSERT_EQ(run.code, 0) << run.errors;
    EXPECT_EQ(run.json.at("recordings").back().at("bytes"), 512 * 1024);
    EXPECT_EQ(run.json.at("recordings").back().at("state"), "Stopped by buffer full : upload complete");
}

TEST(Calibrations, EveryAttemptIsTold) {
    const RunSpace space;
    const Outcome run = space.run({"calibrate", "--scenario", "too-fast", "--out", space.file("run").string()});
    EXPECT_EQ(run.code, 5) << run.errors;
    EXPECT_THAT(run.output, HasSubstr("not calibrated"));
    const Outcome good =
        space.run({"calibrate", "--scenario", "clean", "--json", "--force", "--out", space.file("run").string()});
    ASSERT_EQ(good.code, 0) << good.errors;
    EXPECT_FALSE(good.json.contains("recording"));
    const auto& attempts = good.json.at("calibration").at("attempts");
    ASSERT_FALSE(attempts.empty());
    EXPECT_EQ(attempts.back().at("verdict"), "accepted");
    EXPECT_EQ(attempts.back().at("pins").size(), 5U);
    EXPECT_EQ(attempts.back().at("setting"), good.json.at("calibration").at("setting"));
}

TEST(Calibrations, OneThatIsRefusedLeavesAPageAndNamesTheDoctorsCommand) {
    const RunSpace space;
    const Outcome run =
        space.run({"record", "--json", "--scenario", "no-clock", "--out", space.file("a run").string()});
    EXPECT_EQ(run.code, 5) << run.errors;
    EXPECT_TRUE(std::filesystem::exists(space.file("a run") / "no-clock.report.html"));
    EXPECT_EQ(run.json.at("error").at("remedy"), "orvtrace doctor \"" + space.file("a run").string() + "\" shows why");
    EXPECT_THAT(run.errors, HasSubstr("orvtrace doctor \"" + space.file("a run").string() + "\" shows why (log: "));
    EXPECT_EQ(space.run({"doctor", space.file("a run").string()}).code, 10);
    const Outcome text = space.run({"record", "--scenario", "no-clock", "--out", space.file("b").string()});
    EXPECT_THAT(text.output, testing::Not(HasSubstr("\nCLK "))) << "nothing was computed for any pin";
    EXPECT_THAT(text.output, HasSubstr("\nnext: open "));
}

TEST(Calibrations, TheTablesAreForPeople) {
    const RunSpace space;
    const Outcome run = space.run({"calibrate", "--scenario", "two-pin", "--out", space.file("run").string()});
    ASSERT_EQ(run.code, 0) << run.errors;
    EXPECT_THAT(run.output, HasSubstr("samples a clock period, clock taken "));
    EXPECT_THAT(run.output, HasSubstr("\nCLK "));
    EXPECT_THAT(run.output, HasSubstr("accepted"));
    EXPECT_THAT(run.output, HasSubstr("calibrated at 50 MHz"));
}

} // namespace
