#include "tests/road/Orvtrace.h"

#include <gmock/gmock.h>

namespace {

/// A file that exists and cannot be read, also by root, whom no permission stops.
constexpr const char* unreadable = "/proc/self/mem";

TEST(Unreadable, AFileThatExistsIsNotSaidToBeMisspelled) {
    const RunSpace space;
    const Outcome there = space.run({"burst", unreadable, "--csv", space.file("x.csv").string()});
    EXPECT_EQ(there.code, 3);
    EXPECT_EQ(there.errors, "orvtrace: cannot read /proc/self/mem; check its permissions\n");
    const Outcome missing = space.run({"burst", "/no/such", "--csv", space.file("x.csv").string()});
    EXPECT_EQ(missing.errors, "orvtrace: cannot read /no/such; check the name and the folder\n");
}

} // namespace
