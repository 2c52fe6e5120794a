#include "tests/simulation/checks/Toys.h"
#include "tests/simulation/exploration/Schedule.h"
#include "tests/simulation/exploration/Search.h"

#include <gtest/gtest.h>

// For the build with ThreadSanitizer: it sees the product's accesses and the simulated locks, and nothing of the scheduler.

namespace simulation {
namespace {

TEST(Race, IsFoundInTheUsualSchedule) {
    addToys();
    EXPECT_EQ(tryRecipe(usualRecipe("toy.race")).rule, "data race");
}

TEST(Race, IsNoneWhereALockOrdersTheThreads) {
    addToys();
    EXPECT_EQ(tryRecipe(usualRecipe("toy.correct")).rule, "");
}

} // namespace
} // namespace simulation
