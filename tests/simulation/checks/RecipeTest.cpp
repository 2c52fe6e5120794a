#include "tests/simulation/exploration/Recipe.h"
#include "tests/simulation/scheduler/Strategy.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace simulation {
namespace {

TEST(Departures, TextIsReadBackAsItWas) {
    for (const char* text : {"", "0:34>2", "0:34>2 1:17>0/200000", "12:1>0 0:2>1 3:4>5/1"}) {
        EXPECT_EQ(textOf(departuresOf(text)), text);
    }
}

TEST(Departures, OtherTextIsRefused) {
    for (const char* text : {"x", "1", "1:2", "1>2", "1:2>", "1:2>3/", "1:2>3 x"}) {
        EXPECT_THROW(departuresOf(text), std::invalid_argument) << text;
    }
}

TEST(Recipe, TextIsReadBackAsItWas) {
    for (const char* text : {"a.b early 17 -", "a.b pct3 0 memory:2:9", "a.b walk 5 fileWrite:1:3+",
                             "a.b departures 0 - ", "a.b departures 9 request:0:1 0:34>2 1:17>0/5"}) {
        EXPECT_EQ(textOf(recipeOf(text)), text);
    }
}

TEST(Recipe, OtherTextIsRefused) {
    for (const char* text : {"", "a.b", "a.b early", "a.b early 17", "a.b early 17 fire:0:1", "a.b early 17 memory"}) {
        EXPECT_THROW(recipeOf(text), std::invalid_argument) << text;
    }
}

} // namespace
} // namespace simulation
