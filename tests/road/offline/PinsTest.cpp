#include "tests/road/Orvtrace.h"

#include <gmock/gmock.h>

// What a device's pins can carry, asked without a receiver.

namespace {

using nlohmann::json;
using testing::HasSubstr;

const json* answerFor(const json& all, const std::string& kind, unsigned dataPins) {
    for (const json& answer : all.at("answers")) {
        if (answer.at("exportKind") == kind && answer.at("dataPins") == dataPins) {
            return &answer;
        }
    }
    return nullptr;
}

TEST(Pins, EveryWishOfChannelSettingsIsAnswered) {
    const RunSpace space;
    const Outcome run = space.run({"pins", "--device", "bench/app", "--json"});
    ASSERT_EQ(run.code, 0) << run.errors;
    EXPECT_EQ(run.json.at("device"), "bench/app");
    EXPECT_EQ(run.json.at("pinouts").size(), 15U);
    EXPECT_EQ(run.json.at("answers").size(), 9U);
    const json* two = answerFor(run.json, "pti", 2);
    ASSERT_NE(two, nullptr);
    EXPECT_EQ(two->at("granted"), true);
    EXPECT_EQ(two->at("emuPins"), json({5, 2, 3})) << "pins 0 and 1 are spared where that is possible";
    EXPECT_EQ(two->at("owner"), "debug subsystem");
    const json* four = answerFor(run.json, "tpiu", 4);
    ASSERT_NE(four, nullptr);
    EXPECT_EQ(four->at("emuPins"), json({0, 1, 2, 3, 4}));
}

TEST(Pins, OneWishIsGrantedOrRefusedWithItsReason) {
    const RunSpace space;
    const Outcome granted = space.run({"pins", "--device", "bench/app", "--kind", "pti", "--pins", "0,1,2"});
    EXPECT_EQ(granted.code, 0) << granted.errors;
    EXPECT_THAT(granted.output, HasSubstr("granted: CLK EMU0, D0 EMU1, D1 EMU2 of connector"));
    const Outcome refused = space.run({"pins", "--device", "bench/app", "--kind", "pti", "--pins", "4,5"});
    EXPECT_EQ(refused.code, 5);
    EXPECT_THAT(refused.output, HasSubstr("refused: no pin-out puts pti on just these pins; with 1 data pin there are "
                                          "0,1; 5,2"));
}

TEST(Pins, AKindLeavesOutTheOthersPinOuts) {
    const RunSpace space;
    const Outcome run = space.run({"pins", "--device", "bench/app", "--kind", "tpiu", "--json"});
    ASSERT_EQ(run.code, 0) << run.errors;
    EXPECT_EQ(run.json.at("pinouts").size(), 5U);
    for (const json& pinout : run.json.at("pinouts")) {
        EXPECT_EQ(pinout.at("exportKind"), "tpiu");
    }
    EXPECT_EQ(space.run({"pins", "--device", "bench/app", "--kind", "tpiu"}).output.find(" pti "), std::string::npos);
}

TEST(Pins, AloneTellsTheDevicesOfTheBench) {
    const RunSpace space;
    const Outcome run = space.run({"pins"});
    EXPECT_EQ(run.code, 0) << run.errors;
    EXPECT_THAT(run.output, HasSubstr("bench/app "));
    const Outcome told = space.run({"pins", "--json"});
    ASSERT_EQ(told.code, 0);
    EXPECT_EQ(told.json.at("devices").size(), lines(run.output));
    EXPECT_EQ(told.json.at("devices").at(0).at("name"), "bench/app");
}

TEST(Pins, AnUnknownDeviceIsOneLine) {
    const RunSpace space;
    for (const char* device : {"bench/none", "bench/no-trace"}) {
        const Outcome run = space.run({"pins", "--device", device});
        EXPECT_EQ(run.code, 5);
        EXPECT_EQ(run.output, "");
        EXPECT_EQ(lines(run.errors), 1U);
        EXPECT_THAT(run.errors, HasSubstr(std::string(device) + ": This device is not supported by the receiver."));
    }
}

TEST(Pins, APinMapFileTakesTheDataBasesPlace) {
    const RunSpace space;
    const auto file = space.write("pins.map", "front=pti=0,1;pti=2,3,4\n");
    const Outcome run = space.run({"pins", "--map-file", file.string(), "--kind", "pti", "--json"});
    ASSERT_EQ(run.code, 0) << run.errors;
    EXPECT_EQ(run.json.at("pinouts").size(), 2U);
    EXPECT_EQ(answerFor(run.json, "pti", 2)->at("emuPins"), json({2, 3, 4}));
    EXPECT_EQ(answerFor(run.json, "pti", 4)->at("granted"), false);
    EXPECT_THAT(answerFor(run.json, "pti", 4)->at("remark").get<std::string>(), HasSubstr("there are 1, 2"));
}

TEST(Pins, ANumberThatCannotBeReadAndAPinThatIsUsedTwiceAreToldAndGranted) {
    const RunSpace space;
    const auto file = space.write("pins.map", "front=pti=x,0\n");
    const Outcome run = space.run({"pins", "--map-file", file.string(), "--kind", "pti", "--json"});
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(answerFor(run.json, "pti", 1)->at("granted"), true) << "as the receiver does";
    ASSERT_EQ(run.json.at("notes").size(), 2U) << run.output;
    EXPECT_THAT(run.json.at("notes").at(0).get<std::string>(), HasSubstr("\"x\" is no pin number"));
    EXPECT_THAT(run.json.at("notes").at(1).get<std::string>(), HasSubstr("pin 0 is the clock and a data pin too"));
    EXPECT_THAT(run.errors, HasSubstr("orvtrace: warning: pin-out front, pti=x,0: pin 0 is the clock"));
    EXPECT_EQ(lines(run.errors), 2U);
    EXPECT_EQ(space.run({"pins", "--device", "bench/app", "--json"}).json.at("notes"), json::array());
}

TEST(Pins, NamesWithControlCharactersReachNoTerminal) {
    const RunSpace space;
    const auto file = space.write("pins.map", "fr\x1b[31mont=p\x1bti=0,0;pti=1,1\n");
    const Outcome run = space.run({"pins", "--map-file", file.string()});
    EXPECT_EQ(run.code, 0) << run.errors;
    EXPECT_THAT(run.output, HasSubstr("fr?[31mont"));
    EXPECT_EQ((run.output + run.errors).find('\x1b'), std::string::npos);
    const Outcome told = space.run({"pins", "--map-file", file.string(), "--json"});
    ASSERT_TRUE(told.json.is_object()) << told.output;
    EXPECT_EQ(told.json.at("pinouts").at(0).at("name"), "fr\x1b[31mont");
    EXPECT_EQ((told.output + told.errors).find('\x1b'), std::string::npos);
}

TEST(Pins, AMissingOrDamagedPinMapFileIsOneLine) {
    const RunSpace space;
    const auto damaged = space.write("damaged.map", "front=pti\n");
    for (const auto& file : {damaged, space.file("none.map")}) {
        const Outcome run = space.run({"pins", "--map-file", file.string()});
        EXPECT_EQ(run.code, 3);
        EXPECT_EQ(lines(run.errors), 1U) << run.errors;
        EXPECT_THAT(run.errors, HasSubstr(file.string()));
    }
}

} // namespace
