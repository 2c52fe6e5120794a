#include "host/pins/PinAnswers.h"

#include <gmock/gmock.h>

namespace host {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

const Pinouts board{
    {"connector", {{"pti", {{0, 1}, {0, 1, 2}, {0, 1, 2, 3, 4}}}, {"tpiu", {{0, 1}}}}},
    {"spare", {{"pti", {{5, 2}, {5, 2, 3}}}}},
    {"wide", {{"tpiulite", {{16, 17, 18}}}}},
};

TEST(PinAnswers, AreTheReceiversOwn) {
    const PinAnswer answer = answerOf(board, "pti", 2, {});
    EXPECT_TRUE(answer.granted);
    EXPECT_EQ(answer.pinout, "spare");
    EXPECT_THAT(answer.pins, ElementsAre(5U, 2U, 3U));
    EXPECT_EQ(answer.remark, "");
}

TEST(PinAnswers, AMapThatFitsIsUsedAsItStands) {
    const PinAnswer same = answerOf(board, "pti", 2, {0, 1, 2});
    EXPECT_TRUE(same.granted);
    EXPECT_EQ(same.pinout, "connector");
    EXPECT_EQ(same.remark, "");
    const PinAnswer turned = answerOf(board, "pti", 2, {2, 0, 1});
    EXPECT_TRUE(turned.granted);
    EXPECT_THAT(turned.pins, ElementsAre(2U, 0U, 1U));
    EXPECT_THAT(turned.remark, HasSubstr("0,1,2"));
}

TEST(PinAnswers, AKindThatTheDeviceDoesNotHaveIsNamedWithThoseThatItHas) {
    EXPECT_EQ(answerOf(board, "etb", 1, {}).remark, "no pin-out carries etb trace; there is pti, tpiu, tpiulite");
    EXPECT_EQ(answerOf({}, "pti", 1, {}).remark, "no pin-out carries pti trace; there is none");
}

TEST(PinAnswers, ACountThatNoPinOutHasIsNamedWithThoseThatThereAre) {
    EXPECT_EQ(answerOf(board, "tpiu", 4, {}).remark, "no pin-out has 4 data pins for tpiu; there are 1");
    EXPECT_EQ(answerOf(board, "pti", 3, {}).remark, "no pin-out has 3 data pins for pti; there are 1, 2, 4");
}

TEST(PinAnswers, PinsThatNoPinOutHasTogetherAreRefusedWithTheChoices) {
    EXPECT_EQ(answerOf(board, "pti", 1, {3, 5}).remark,
              "no pin-out puts pti on just these pins; with 1 data pin there are 0,1; 5,2");
}

TEST(PinAnswers, PinsThatTheUnitIsNotWiredToAreTold) {
    const PinAnswer answer = answerOf(board, "tpiulite", 2, {});
    EXPECT_FALSE(answer.granted);
    EXPECT_THAT(answer.remark, HasSubstr("not wired to"));
    EXPECT_THAT(answer.remark, HasSubstr("16,17,18"));
}

TEST(PinAnswers, KindsAreThoseOfAllPinOuts) {
    EXPECT_THAT(kindsOf(board), ElementsAre("pti", "tpiu", "tpiulite"));
}

} // namespace
} // namespace host
