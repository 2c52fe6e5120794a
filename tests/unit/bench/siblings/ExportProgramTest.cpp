#include "bench/siblings/ExportProgram.h"

#include <gmock/gmock.h>

namespace bench {
namespace {

using namespace xmtr_result;
using testing::HasSubstr;

/// The steps of a whole export with two data pins, up to the frequency.
ExportProgram prepared(ExportKind kind = ExportKind::Pti) {
    ExportProgram program(kind, 3);
    const bool pti = kind == ExportKind::Pti;
    EXPECT_EQ(program.allocatePin(pti ? 13 : 18, 0, 5), done);
    EXPECT_EQ(program.allocatePin(pti ? 12 : 19, 1, 3), done);
    EXPECT_EQ(program.allocatePin(pti ? 12 : 19, 0, 2), done);
    EXPECT_EQ(program.setPortWidth(2), done);
    if (kind != ExportKind::TpiuLite) {
        EXPECT_EQ(program.setFunctionMode(pti ? 3 : 9), done);
        EXPECT_EQ(program.setTestMode(5, 4), done);
        EXPECT_EQ(program.applyFrequency(2), done);
    }
    return program;
}

int enableAll(ExportProgram& program) {
    const int programmed = program.programChannel();
    if (programmed != done) {
        return programmed;
    }
    EXPECT_EQ(program.enablePort(), done);
    return program.enablePins();
}

TEST(ExportProgramTest, TheWholeOrderProducesTheRequestWithBitZeroAfterTheClock) {
    ExportProgram program = prepared();
    EXPECT_EQ(enableAll(program), done);
    EXPECT_EQ(program.request(), "program pattern=f0 frequency=2 kind=pti pins=5,2,3");
}

TEST(ExportProgramTest, TheOtherKindsHaveTheirOwnModes) {
    ExportProgram tpiu = prepared(ExportKind::Tpiu);
    EXPECT_EQ(enableAll(tpiu), done);
    EXPECT_EQ(tpiu.request(), "program pattern=f0 frequency=2 kind=tpiu pins=5,2,3");
    ExportProgram lite = prepared(ExportKind::TpiuLite);
    EXPECT_EQ(enableAll(lite), done);
    EXPECT_EQ(lite.request(), "program pattern=none frequency=0 kind=tpiulite pins=5,2,3");
}

TEST(ExportProgramTest, TheModesOfAnotherKindAreRefused) {
    ExportProgram pti(ExportKind::Pti, 1);
    EXPECT_EQ(pti.allocatePin(18, 0, 0), badArgument);
    EXPECT_EQ(pti.setFunctionMode(9), badArgument);
    ExportProgram tpiu(ExportKind::Tpiu, 1);
    EXPECT_EQ(tpiu.allocatePin(13, 0, 0), badArgument);
    EXPECT_EQ(tpiu.setFunctionMode(3), badArgument);
    ExportProgram lite(ExportKind::TpiuLite, 1);
    EXPECT_EQ(lite.setFunctionMode(9), badArgument);
    EXPECT_EQ(lite.applyFrequency(0), badArgument);
}

TEST(ExportProgramTest, EveryPatternHasItsName) {
    const char* names[] = {"a5", "walk", "ramp", "lfsr", "f0"};
    for (unsigned mode = 0; mode < 5; ++mode) {
        ExportProgram program = prepared();
        EXPECT_EQ(program.setTestMode(5, mode), done);
        EXPECT_THAT(program.request(), HasSubstr(std::string("pattern=") + names[mode] + " "));
    }
    ExportProgram program = prepared();
    EXPECT_EQ(program.setTestMode(5, 5), badArgument);
    EXPECT_EQ(program.setTestMode(4, 0), badArgument);
}

TEST(ExportProgramTest, TheFunctionModeEndsATestMode) {
    ExportProgram program = prepared();
    EXPECT_EQ(program.setFunctionMode(3), done);
    EXPECT_THAT(program.request(), HasSubstr("pattern=none "));
}

TEST(ExportProgramTest, ATestModeNeedsTheFunctionModeFirst) {
    ExportProgram program(ExportKind::Pti, 1);
    EXPECT_EQ(program.setTestMode(5, 0), outOfOrder);
}

TEST(ExportProgramTest, OnlyExistingPinsAreAllocatedAndOnlyOnce) {
    ExportProgram program = prepared();
    EXPECT_EQ(program.allocatePin(12, 2, 6), badPin);
    EXPECT_EQ(program.allocatePin(12, 2, 5), badPin) << "the clock's";
    EXPECT_EQ(program.allocatePin(12, 2, 2), badPin) << "another bit's";
    EXPECT_EQ(program.allocatePin(12, 0, 4), badPin) << "a bit that has one";
    EXPECT_EQ(program.allocatePin(13, 0, 4), badPin) << "a second clock";
    EXPECT_EQ(program.releasePin(6), badPin);
    EXPECT_EQ(program.releasePin(2), done);
    EXPECT_EQ(program.allocatePin(12, 0, 2), done);
}

TEST(ExportProgramTest, AMissingStepPreventsProgrammingTheChannel) {
    ExportProgram noClock = prepared();
    noClock.releasePin(5);
    EXPECT_EQ(noClock.programChannel(), outOfOrder);
    ExportProgram narrow = prepared();
    narrow.setPortWidth(1);
    EXPECT_EQ(narrow.programChannel(), outOfOrder);
    ExportProgram gap(ExportKind::TpiuLite, 1);
    gap.allocatePin(18, 0, 0);
    gap.allocatePin(19, 0, 1);
    gap.allocatePin(19, 2, 2);
    gap.setPortWidth(2);
    EXPECT_EQ(gap.programChannel(), badPin);
    ExportProgram noFrequency(ExportKind::Pti, 1);
    noFrequency.allocatePin(13, 0, 0);
    noFrequency.allocatePin(12, 0, 1);
    noFrequency.setPortWidth(1);
    noFrequency.setFunctionMode(3);
    EXPECT_EQ(noFrequency.programChannel(), outOfOrder);
    EXPECT_EQ(noFrequency.applyFrequency(1), badArgument);
    EXPECT_EQ(noFrequency.applyFrequency(0), done);
    EXPECT_EQ(noFrequency.programChannel(), done);
}

TEST(ExportProgramTest, PortAndPinsAreEnabledInOrderAfterEveryChange) {
    ExportProgram program = prepared();
    EXPECT_EQ(program.enablePort(), outOfOrder);
    EXPECT_EQ(program.programChannel(), done);
    EXPECT_EQ(program.enablePins(), outOfOrder);
    EXPECT_EQ(program.enablePort(), done);
    EXPECT_EQ(program.enablePins(), done);
    EXPECT_EQ(program.applyFrequency(1), done);
    EXPECT_EQ(program.enablePins(), outOfOrder);
    EXPECT_THAT(program.reason(), HasSubstr("before the port"));
}

TEST(ExportProgramTest, ADisabledPortIsEnabledAgainWithoutProgramming) {
    ExportProgram program = prepared();
    ASSERT_EQ(enableAll(program), done);
    program.shutdown();
    EXPECT_EQ(program.enablePins(), outOfOrder);
    EXPECT_EQ(program.enablePort(), done);
    EXPECT_EQ(program.enablePins(), done);
}

} // namespace
} // namespace bench
