#include "tests/tree/BuildLists.h"
#include "tests/tree/Layering.h"
#include "tests/tree/SourceTree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

// The rules on this tree.

namespace tree {

using testing::IsEmpty;

namespace {

constexpr std::size_t longestFile = 900;

} // namespace

TEST(Tree, IsThere) {
    EXPECT_TRUE(sourcesOfThisTree().contains("CMakeLists.txt"));
    for (const char* room : {"common/", "rcvr/framework/", "rcvr/", "link/", "pinmap/", "tdf/", "mpx/", "client/",
                             "bench/", "toolkit/", "diagnosis/", "host/", "tests/"}) {
        EXPECT_TRUE(std::any_of(sourcesOfThisTree().begin(), sourcesOfThisTree().end(), [&](const auto& file) {
            return isSource(file.first) && file.first.starts_with(room);
        })) << room;
    }
}

TEST(Tree, IncludesPointDownwardsOnly) {
    EXPECT_THAT(upwardIncludes(sourcesOfThisTree()), IsEmpty());
}

TEST(Tree, IncludesAreNamedFromTheRoot) {
    EXPECT_THAT(includesThatAreNotFromTheRoot(sourcesOfThisTree()), IsEmpty());
}

TEST(Tree, HasNoIncludeCycle) {
    EXPECT_THAT(includeCycles(sourcesOfThisTree()), IsEmpty());
}

TEST(Tree, NamesPlatformsInTheirFoldersOnly) {
    EXPECT_THAT(platformDependence(sourcesOfThisTree()), IsEmpty());
}

TEST(Tree, NamesCompilersInOneHeaderOnly) {
    EXPECT_THAT(compilerDependence(sourcesOfThisTree()), IsEmpty());
}

TEST(Tree, BuildsEverySource) {
    EXPECT_THAT(sourcesThatAreNotBuilt(sourcesOfThisTree()), IsEmpty());
}

TEST(Tree, HoldsNoUnfinishedWork) {
    EXPECT_THAT(unfinishedWork(sourcesOfThisTree()), IsEmpty());
}

TEST(Tree, HasNoOverlongFile) {
    EXPECT_THAT(longFiles(sourcesOfThisTree(), longestFile), IsEmpty());
}

TEST(Tree, HasNoDeadLinks) {
    EXPECT_THAT(deadLinks(sourcesOfThisTree()), IsEmpty());
}

} // namespace tree
