#include "common/source/source_utilities/DirectoriesAlong.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace VX_QRS {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr PathRules windowsRules{"\\/", true};
constexpr PathRules linuxRules{"/", false};

TEST(DirectoriesAlong, ANetworkPathKeepsItsTwoSeparators) {
    EXPECT_THAT(directoriesAlong("\\\\server\\home\\u\\.VX-trace\\data", windowsRules),
                ElementsAre("\\\\server", "\\\\server\\home", "\\\\server\\home\\u", "\\\\server\\home\\u\\.VX-trace",
                            "\\\\server\\home\\u\\.VX-trace\\data"));
    EXPECT_THAT(directoriesAlong("//server/u", linuxRules), ElementsAre("//server", "//server/u"));
}

TEST(DirectoriesAlong, ADriveIsNotCreated) {
    EXPECT_THAT(directoriesAlong("C:\\Users\\u", windowsRules), ElementsAre("C:\\Users", "C:\\Users\\u"));
    EXPECT_THAT(directoriesAlong("C:", windowsRules), IsEmpty());
    EXPECT_THAT(directoriesAlong("/C:/u", linuxRules), ElementsAre("/C:", "/C:/u"));
}

TEST(DirectoriesAlong, SeveralSeparatorsAreOneAndOnesAtTheEndNone) {
    EXPECT_THAT(directoriesAlong("C:\\a\\\\b\\", windowsRules), ElementsAre("C:\\a", "C:\\a\\\\b"));
    EXPECT_THAT(directoriesAlong("/a//b//", linuxRules), ElementsAre("/a", "/a//b"));
    EXPECT_THAT(directoriesAlong("//", linuxRules), IsEmpty());
    EXPECT_THAT(directoriesAlong("", linuxRules), IsEmpty());
}

TEST(DirectoriesAlong, BothSeparatorsSplitWhereTheSystemReadsBoth) {
    EXPECT_THAT(directoriesAlong("a/b\\c", windowsRules), ElementsAre("a", "a/b", "a/b\\c"));
    EXPECT_THAT(directoriesAlong("a/b\\c", linuxRules), ElementsAre("a", "a/b\\c"));
}

} // namespace
} // namespace VX_QRS
