#include "common/source/source_utilities/SameFile.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <fstream>

namespace VX_QRS {
namespace {

// The bytes are a name in UTF-8 and in the code page of western Windows; there the second is no letter of Latin 1.
constexpr const char* name = "gr\xC3\x9F";

TEST(SameFile, TwoSpellingsOfOnePath) {
    const test_support::TemporaryFolder folder;
    const std::string path = folder.path.string() + "/" + name;
    std::ofstream(path) << "x";
    EXPECT_TRUE(sameFile(path.c_str(), path.c_str()));
    EXPECT_TRUE(sameFile(path.c_str(), (folder.path.string() + "/./" + name).c_str()));
    EXPECT_TRUE(sameFile(folder.path.string().c_str(), (folder.path.string() + "/.").c_str()));
}

TEST(SameFile, FilesOfTheSameContentAreTwo) {
    const test_support::TemporaryFolder folder;
    const std::string one = folder.write("one", "x");
    const std::string two = folder.write("two", "x");
    EXPECT_FALSE(sameFile(one.c_str(), two.c_str()));
}

TEST(SameFile, WhatDoesNotExistIsNoFile) {
    const test_support::TemporaryFolder folder;
    const std::string missing = folder.file("missing");
    const std::string there = folder.write("there", "x");
    EXPECT_FALSE(sameFile(missing.c_str(), missing.c_str()));
    EXPECT_FALSE(sameFile(missing.c_str(), there.c_str()));
    EXPECT_FALSE(sameFile(there.c_str(), missing.c_str()));
    EXPECT_FALSE(sameFile("", ""));
}

} // namespace
} // namespace VX_QRS
