#include "bench/server/SideProtocol.h"

#include <gtest/gtest.h>

namespace bench {
namespace {

class SideProtocol : public testing::Test {
protected:
    std::string ask(std::string_view line) { return answerSideRequest(line, *unit, mutex); }

    Scenario scenario = [] {
        Scenario made;
        made.transmitter.frequencies = {10e6, 20e6};
        made.transmitter.traceStatus = 0x40000000;
        return made;
    }();
    std::mutex mutex;
    std::optional<Unit> unit = std::optional<Unit>(std::in_place, scenario, [] { return std::uint64_t{0}; });
};

TEST_F(SideProtocol, AProgramPutsTheSignalOnThePins) {
    EXPECT_EQ(ask("program pattern=ramp frequency=1 kind=pti pins=0,4,3,2,1"), "ok");
    const ProcInput input = unit->inputOf(0, 0);
    ASSERT_NE(input.transmission, nullptr);
    EXPECT_EQ(input.transmission->dataPins, 4U);
    EXPECT_EQ(input.transmission->halfPeriod, 35.0);
    EXPECT_TRUE(input.transmission->words.framed());
    EXPECT_EQ(ask("program pattern=none frequency=0 kind=tpiu pins=0,1"), "ok");
    EXPECT_FALSE(unit->inputOf(0, 0).transmission->words.framed());
    EXPECT_EQ(ask("shutdown"), "ok");
    EXPECT_EQ(unit->inputOf(0, 0).transmission, nullptr);
}

TEST_F(SideProtocol, TheOtherRequestsAreAnswered) {
    EXPECT_EQ(ask("flush"), "ok");
    EXPECT_EQ(ask("end 1"), "ok");
    EXPECT_EQ(ask("end 0"), "ok");
    EXPECT_EQ(ask("status"), "ok 1073741824");
}

TEST_F(SideProtocol, WhatCannotBeIsAnError) {
    EXPECT_EQ(ask(""), "err unknown request");
    EXPECT_EQ(ask("launch"), "err unknown request");
    EXPECT_EQ(ask("end 2"), "err end takes 0 or 1");
    EXPECT_EQ(ask("program pattern=f0 frequency=2 kind=pti pins=0,1"), "err no such frequency setting");
    EXPECT_EQ(ask("program pattern=f0 frequency=x kind=pti pins=0,1"), "err not a number: x");
    EXPECT_EQ(ask("program pattern=f0 frequency=0 kind=stm pins=0,1"), "err no such kind of export: stm");
    EXPECT_EQ(ask("program pattern=f9 frequency=0 kind=pti pins=0,1"), "err no such pattern");
    EXPECT_EQ(ask("program pattern=f0 frequency=0 kind=pti pins=0,a"), "err not a number: a");
    EXPECT_EQ(ask("program speed=1"), "err unknown argument: speed");
}

} // namespace
} // namespace bench
