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

const Files& sources() {
    static const Files files = readFiles(ORV_SOURCE_ROOT);
    return files;
}

} // namespace

TEST(Tree, IsThere) {
    EXPECT_TRUE(sources().contains("CMakeLists.txt"));
    for (const char* room : {"common/", "rcvr/framework/", "rcvr/", "link/", "pinmap/", "tdf/", "mpx/", "client/",
                             "bench/", "toolkit/", "diagnosis/", "host/", "tests/"}) {
        EXPECT_TRUE(std::any_of(sources().begin(), sources().end(), [&](const auto& file) {
            return isSource(file.first) && file.first.starts_with(room);
        })) << room;
    }
}

TEST(Tree, IncludesPointDownwardsOnly) {
    EXPECT_THAT(upwardIncludes(sources()), IsEmpty());
}

TEST(Tree, IncludesAreNamedFromTheRoot) {
    EXPECT_THAT(includesThatAreNotFromTheRoot(sources()), IsEmpty());
}

TEST(Tree, HasNoIncludeCycle) {
    EXPECT_THAT(includeCycles(sources()), IsEmpty());
}

TEST(Tree, NamesPlatformsInTheirFoldersOnly) {
    EXPECT_THAT(platformDependence(sources()), IsEmpty());
}

TEST(Tree, BuildsEverySource) {
    EXPECT_THAT(sourcesThatAreNotBuilt(sources()), IsEmpty());
}

TEST(Tree, HoldsNoUnfinishedWork) {
    EXPECT_THAT(unfinishedWork(sources()), IsEmpty());
}

TEST(Tree, HasNoOverlongFile) {
    EXPECT_THAT(longFiles(sources(), longestFile), IsEmpty());
}

TEST(Tree, HasNoDeadLinks) {
    EXPECT_THAT(deadLinks(sources()), IsEmpty());
}

} // namespace tree
