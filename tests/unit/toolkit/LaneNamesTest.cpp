#include "tests/unit/toolkit/FailureOf.h"
#include "toolkit/LaneNames.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;
using toolkit::bitOf;
using toolkit::laneLabel;
using toolkit::LaneNames;

TEST(LaneNames, WithoutNamesADataPinIsItsBitAsOnASchematic) {
    EXPECT_EQ(laneLabel({0, 4, {}}), "CLK");
    EXPECT_EQ(laneLabel({1, 4, {}}), "D3");
    EXPECT_EQ(laneLabel({4, 4, {}}), "D0");
    EXPECT_EQ(laneLabel({1, 1, {}}), "D0");
    EXPECT_EQ(bitOf({2, 4, {}}), 2U);
    EXPECT_EQ(bitOf({0, 4, {}}), std::nullopt);
}

TEST(LaneNames, APinWithoutAKnownBitHasNone) {
    EXPECT_EQ(laneLabel({5, 4, {}}), "proc 5");
    EXPECT_EQ(laneLabel({1, 0, {}}), "proc 1");
}

TEST(LaneNames, TheConnectorsPinFollowsWhereItIsKnown) {
    EXPECT_EQ(LaneNames().title({4, 4, 1}), "D0 (EMU1)");
    EXPECT_EQ(LaneNames().title({0, 4, {}}), "CLK");
}

TEST(LaneNames, AListIsInTheOrderOfTheTables) {
    const LaneNames names = LaneNames::parse("TCLK, TD1,TD0");
    EXPECT_EQ(names.label({0, 2, {}}), "TCLK");
    EXPECT_EQ(names.title({1, 2, 5}), "TD1 (D1, EMU5)");
    EXPECT_EQ(names.title({2, 2, {}}), "TD0 (D0)");
    EXPECT_EQ(names.listedPins(), 2U);
}

TEST(LaneNames, ANameEqualToTheUsualOneIsNotRepeated) {
    EXPECT_EQ(LaneNames::parse("CLK,D1,D0").title({2, 2, 1}), "D0 (EMU1)");
}

TEST(LaneNames, NamesByPinAreOfBitsOrOfTheConnector) {
    const LaneNames names = LaneNames::parse("clk=TCLK,emu4=NET_A,d0=TD0");
    EXPECT_EQ(names.label({0, 4, 0}), "TCLK");
    EXPECT_EQ(names.title({1, 4, 4}), "NET_A (D3, EMU4)");
    EXPECT_EQ(names.label({4, 4, 4}), "TD0");
    EXPECT_EQ(names.label({2, 4, 3}), "D2");
    EXPECT_EQ(names.listedPins(), std::nullopt);
}

TEST(LaneNames, NamesThatAnOutputCannotHoldAreRejected) {
    const auto refused = [](const char* list) { return toolkit::textOf([&] { LaneNames::parse(list); }); };
    EXPECT_THAT(refused("CLK,D 0"), HasSubstr("cannot be the name of D0"));
    EXPECT_THAT(refused("CLK,"), HasSubstr("cannot be the name of D0"));
    EXPECT_THAT(refused("CLK,\x1b[1m"), HasSubstr("cannot be the name of D0"));
    EXPECT_THAT(refused("A,A"), HasSubstr("have the same name"));
    EXPECT_THAT(refused("D9=A"), HasSubstr("there is no pin"));
    EXPECT_THAT(refused("CLK=A,B"), HasSubstr("names no pin"));
    EXPECT_EQ(toolkit::codeOf([] { LaneNames::parse("1,2,3,4,5,6,7,8,9"); }), toolkit::ExitCode::Usage);
}

TEST(LaneNames, MarginsAreSetupThenHold) {
    EXPECT_EQ(toolkit::setupHoldText(6.24, 5.0), "6.2 / 5.0");
    EXPECT_EQ(toolkit::setupHoldText(std::nullopt, 5.0, 0), "- / 5");
    EXPECT_EQ(toolkit::setupHoldText(std::nullopt, std::nullopt), "-");
}

} // namespace
