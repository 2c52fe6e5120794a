#include "diagnosis/margin/MarginScan.h"

#include <gtest/gtest.h>

// Whether the values of a later calibration are the scanned ones, as far as the scan shows.

namespace diagnosis {
namespace {

/// Kept delays 20, 5 and 9, with four clean taps before the sampling points and three after them.
RateScan scanned() {
    RateScan rate;
    rate.plan.kept = {20, {5, 9}};
    rate.stretches = {0, 1, -1};
    for (unsigned lane = 0; lane < 2; ++lane) {
        LaneEye eye;
        eye.lane = lane;
        eye.keptBits = 1000;
        eye.setup.clean = 4;
        eye.hold.clean = 3;
        rate.eyes.push_back(eye);
        rate.titles.push_back("data " + std::to_string(lane + 1));
    }
    return rate;
}

const std::vector<int> same{0, 1, -1};

TEST(MovedSince, ASampleWithinTheCleanTapsIsNothing) {
    const RateScan rate = scanned();
    EXPECT_EQ(movedSince(rate, {20, {5, 9}}, same), "");
    EXPECT_EQ(movedSince(rate, {21, {5, 9}}, same), "");
    EXPECT_EQ(movedSince(rate, {20, {6, 8}}, same), "");
    EXPECT_EQ(movedSince(rate, {25, {10, 14}}, same), "") << "all delays alike move no sampling point";
}

TEST(MovedSince, MoreThanASampleIsSaid) {
    const RateScan rate = scanned();
    EXPECT_EQ(movedSince(rate, {22, {5, 9}}, same), "the sampling point of data 1 is 2 samples later");
    EXPECT_EQ(movedSince(rate, {20, {5, 11}}, same), "the sampling point of data 2 is 2 samples earlier");
}

TEST(MovedSince, ASampleToATapWithErrorsIsSaid) {
    RateScan rate = scanned();
    rate.eyes[1].hold.clean = 0;
    EXPECT_EQ(movedSince(rate, {19, {5, 9}}, same), "");
    EXPECT_EQ(movedSince(rate, {21, {5, 9}}, same), "the sampling point of data 2 is 1 sample later");
    rate.eyes[1].setup.clean = 0;
    EXPECT_EQ(movedSince(rate, {19, {5, 9}}, same), "the sampling point of data 2 is 1 sample earlier");
}

TEST(MovedSince, ASampleFromKeptValuesWithErrorsIsSaid) {
    RateScan rate = scanned();
    rate.eyes[0].keptErrors = 1;
    EXPECT_EQ(movedSince(rate, {20, {5, 9}}, same), "");
    EXPECT_EQ(movedSince(rate, {20, {4, 9}}, same), "the sampling point of data 1 is 1 sample later");
}

TEST(MovedSince, AStretchNeedsACleanTapOnEitherSide) {
    RateScan rate = scanned();
    EXPECT_EQ(movedSince(rate, {20, {5, 9}}, {0, 2, -1}), "");
    EXPECT_EQ(movedSince(rate, {21, {5, 9}}, {0, 2, -1}), "the sampling point of data 1 is 1 sample later");
    EXPECT_EQ(movedSince(rate, {20, {5, 9}}, {0, 1, -3}), "the stretches that data 2 is sampled with are others");
    EXPECT_EQ(movedSince(rate, {20, {5, 9}}, {1, 2, -1}), "the stretches that data 1 is sampled with are others");
    rate.eyes[0].hold.clean = 0;
    EXPECT_EQ(movedSince(rate, {20, {5, 9}}, {0, 2, -1}), "the stretches that data 1 is sampled with are others");
}

TEST(MovedSince, AnotherNumberOfPinsIsSaid) {
    const RateScan rate = scanned();
    EXPECT_EQ(movedSince(rate, {20, {5}}, {0, 1}), "their number is another");
}

} // namespace
} // namespace diagnosis
