#include "toolkit/ExitCode.h"

#include <gmock/gmock.h>

#include <set>
#include <sstream>

namespace toolkit {
namespace {

using testing::HasSubstr;

constexpr int last = static_cast<int>(ExitCode::FaultsFound);

TEST(ExitCodes, EachHasItsOwnName) {
    std::set<std::string> names;
    for (int code = 0; code <= last; ++code) {
        names.insert(exitCodeName(static_cast<ExitCode>(code)));
    }
    EXPECT_EQ(names.size(), static_cast<std::size_t>(last) + 1);
}

TEST(ExitCodes, ScriptsRelyOnTheNumbers) {
    EXPECT_STREQ(exitCodeName(static_cast<ExitCode>(0)), "done");
    EXPECT_STREQ(exitCodeName(static_cast<ExitCode>(2)), "usage");
    EXPECT_STREQ(exitCodeName(static_cast<ExitCode>(3)), "bad-input");
    EXPECT_STREQ(exitCodeName(static_cast<ExitCode>(4)), "no-system");
    EXPECT_STREQ(exitCodeName(static_cast<ExitCode>(5)), "calibration-refused");
    EXPECT_STREQ(exitCodeName(static_cast<ExitCode>(6)), "recording-error");
    EXPECT_STREQ(exitCodeName(static_cast<ExitCode>(7)), "interrupted");
    EXPECT_STREQ(exitCodeName(static_cast<ExitCode>(8)), "output-exists");
    EXPECT_STREQ(exitCodeName(static_cast<ExitCode>(9)), "output-unwritable");
    EXPECT_STREQ(exitCodeName(static_cast<ExitCode>(10)), "faults-found");
    EXPECT_STREQ(exitCodeName(static_cast<ExitCode>(11)), "failed") << "an unknown one";
}

TEST(ExitCodes, TheTableNamesEachAndFitsAScreensWidth) {
    const std::string table = exitCodeTable();
    for (int code = 0; code <= last; ++code) {
        EXPECT_THAT(table, HasSubstr(" " + std::to_string(code) + "  "));
    }
    std::istringstream in(table);
    for (std::string line; std::getline(in, line);) {
        EXPECT_LE(line.size(), 80U) << line;
    }
}

} // namespace
} // namespace toolkit
