#include "common/source/source_utilities/uEnvironment.h"
#include "tests/support/failure/FailureText.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <thread>
#include <vector>

namespace VX_QRS {
namespace {

using test_support::failureText;

// A path as this platform writes it.
std::string native(std::string path) {
    std::replace(path.begin(), path.end(), '/', uEnvironment::separator()[0]);
    return path;
}

std::string normalised(std::string path) {
    uEnvironment::normalisePath(path);
    return path;
}

std::string joined(std::string path, const char* part) {
    uEnvironment::joinPath(path, part);
    return path;
}

std::string parent(const char* path) {
    std::string text = "old";
    uEnvironment::getParentDirectory(text, path);
    return text;
}

std::filesystem::path workingDirectory() {
    std::string directory;
    uEnvironment::getCurrentDirectory(directory);
    return std::filesystem::canonical(directory);
}

TEST(uEnvironment, WhatIsSetIsRead) {
    uEnvironment::set("ORV_TEST_VARIABLE", "value");
    EXPECT_STREQ(uEnvironment::get("ORV_TEST_VARIABLE"), "value");
    uEnvironment::set("ORV_TEST_VARIABLE", "");
    EXPECT_STREQ(uEnvironment::get("ORV_TEST_VARIABLE"), "");
    EXPECT_STREQ(uEnvironment::get("ORV_NO_SUCH_VARIABLE"), "");
}

TEST(uEnvironment, NullNamesAndValuesFail) {
    EXPECT_EQ(failureText<source_utilities_error>([] { uEnvironment::get(nullptr); }),
              "failed set an environment variable name to null");
    EXPECT_EQ(failureText<source_utilities_error>([] { uEnvironment::set(nullptr, "v"); }),
              "failed set an environment variable name to null");
    EXPECT_EQ(failureText<source_utilities_error>([] { uEnvironment::set("n", nullptr); }),
              "failed set an environment variable value to null");
}

TEST(uEnvironment, TextStaysUntilTheSameThreadsNextQuery) {
    uEnvironment::set("ORV_TEST_VARIABLE", "mine");
    const char* text = uEnvironment::get("ORV_TEST_VARIABLE");
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t] {
            const std::string name = "ORV_TEST_" + std::to_string(t);
            for (int i = 0; i < 200; ++i) {
                const std::string value = name + "=" + std::to_string(i);
                uEnvironment::set(name.c_str(), value.c_str());
                ASSERT_EQ(uEnvironment::get(name.c_str()), value);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_STREQ(text, "mine");
}

TEST(uEnvironment, LongValuesAreReadWhole) {
    const std::string value(32000, 'v');
    uEnvironment::set("ORV_TEST_VARIABLE", value.c_str());
    EXPECT_EQ(uEnvironment::get("ORV_TEST_VARIABLE"), value);
    uEnvironment::set("ORV_TEST_VARIABLE", "");
}

TEST(uEnvironmentPaths, MixedSeparatorsBecomeSingleOnes) {
    EXPECT_EQ(normalised("a/b//c///d"), native("a/b/c/d"));
    EXPECT_EQ(normalised("//////"), native("/"));
    const std::string mixed = std::string("a/") + uEnvironment::separator() + "b/" + uEnvironment::separator() + "/c";
    EXPECT_EQ(normalised(mixed), native("a/b/c"));
    EXPECT_EQ(normalised(""), "");
}

TEST(uEnvironmentPaths, JoinPutsOneSeparatorBetween) {
    EXPECT_EQ(joined("", "part"), "part");
    EXPECT_EQ(joined("a", "part"), native("a/part"));
    EXPECT_EQ(joined(native("a/"), "part"), native("a/part"));
    EXPECT_EQ(joined("a/", "part"), native("a/part"));
    EXPECT_EQ(joined("a/b", "/c//d"), native("a/b/c/d"));
    EXPECT_EQ(joined("", ""), "");
    EXPECT_EQ(joined("a", nullptr), native("a/"));
}

TEST(uEnvironmentPaths, ParentIsTheTextBeforeTheLastSeparatorOfThePlatform) {
    EXPECT_EQ(parent(native("a/b/c").c_str()), native("a/b"));
    EXPECT_EQ(parent(native("a/b/").c_str()), native("a/b"));
    EXPECT_EQ(parent(native("/a").c_str()), "");
    EXPECT_EQ(parent("file"), "");
    EXPECT_EQ(parent(""), "");
    EXPECT_EQ(parent(nullptr), "");
}

TEST(uEnvironmentPaths, TheOtherSeparatorDoesNotEndAParent) {
    const std::string other = uEnvironment::separator()[0] == '/' ? "\\" : "/";
    EXPECT_EQ(parent((native("a/b") + other + "c").c_str()), "a");
    EXPECT_EQ(parent(("a" + other + "b").c_str()), "");
}

class uEnvironmentDirectories : public testing::Test {
protected:
    test_support::TemporaryFolder folder;
};

TEST_F(uEnvironmentDirectories, CreatesEveryPartOfAPath) {
    const std::string deep = folder.path.string() + "/a/b//c/";
    EXPECT_EQ(uEnvironment::createDirectories(deep.c_str()), 0);
    EXPECT_TRUE(std::filesystem::is_directory(deep));
    EXPECT_EQ(uEnvironment::createDirectories(deep.c_str()), 0) << "being there already is no failure";
}

TEST_F(uEnvironmentDirectories, FailsWhereAFileIsInTheWay) {
    folder.write("file", "x");
    EXPECT_EQ(uEnvironment::createDirectories((folder.path.string() + "/file").c_str()), -1);
    EXPECT_EQ(uEnvironment::createDirectories((folder.path.string() + "/file/below").c_str()), -1);
    EXPECT_EQ(uEnvironment::createDirectories(nullptr), -1);
    EXPECT_EQ(uEnvironment::createDirectories(""), -1);
    EXPECT_FALSE(uEnvironment::makeDirectory(nullptr));
}

TEST_F(uEnvironmentDirectories, TraceDirectoriesLieInTheProfile) {
    const std::string before = uEnvironment::get("USERPROFILE");
    uEnvironment::set("USERPROFILE", folder.path.string().c_str());
    const std::string base = folder.path.string() + uEnvironment::separator() + ".VX-trace";
    std::string directory;
    uEnvironment::getTraceDirectory(directory);
    EXPECT_EQ(directory, base);
    EXPECT_FALSE(std::filesystem::exists(base)) << "naming it makes nothing";
    uEnvironment::getTraceSettingsDirectory(directory);
    EXPECT_EQ(directory, base + uEnvironment::separator() + "settings");
    EXPECT_TRUE(std::filesystem::is_directory(directory));
    uEnvironment::getTraceDataDirectory(directory);
    EXPECT_EQ(directory, base + uEnvironment::separator() + "data");
    EXPECT_TRUE(std::filesystem::is_directory(directory));
    uEnvironment::set("USERPROFILE", before.c_str());
}

TEST_F(uEnvironmentDirectories, TwoSeparatorsAtTheStartOfTheProfileStay) {
    // The prefix of a network share, on paths that every machine has.
    const std::string profile = (uEnvironment::separator()[0] == '/' ? "/" : "\\\\?\\") + folder.path.string();
    const std::string before = uEnvironment::get("USERPROFILE");
    uEnvironment::set("USERPROFILE", profile.c_str());
    std::string directory;
    uEnvironment::getTraceDataDirectory(directory);
    EXPECT_EQ(directory, profile + native("/.VX-trace/data"));
    EXPECT_TRUE(folder.has(".VX-trace/data"));
    uEnvironment::getTraceSettingsDirectory(directory);
    EXPECT_EQ(directory, profile + native("/.VX-trace/settings"));
    EXPECT_TRUE(folder.has(".VX-trace/settings"));
    uEnvironment::set("USERPROFILE", before.c_str());
}

TEST_F(uEnvironmentDirectories, WithoutAProfileThereIsNoTraceDirectory) {
    const std::string profile = uEnvironment::get("USERPROFILE");
    const std::string home = uEnvironment::get("HOME");
    uEnvironment::set("USERPROFILE", "");
    uEnvironment::set("HOME", "");
    std::string directory;
    EXPECT_EQ(failureText<source_utilities_error>([&] { uEnvironment::getTraceDirectory(directory); }),
              "failed to read environment variable \"USERPROFILE\"");
    EXPECT_THROW(uEnvironment::getTraceDataDirectory(directory), source_utilities_error);
    uEnvironment::set("USERPROFILE", profile.c_str());
    uEnvironment::set("HOME", home.c_str());
}

TEST_F(uEnvironmentDirectories, FreeSpaceIsReportedForExistingDirectories) {
    std::uint64_t bytes = 0;
    EXPECT_TRUE(uEnvironment::getFreeSpace(folder.path.string().c_str(), bytes));
    // Other programs may write meanwhile, though not all the time.
    bool agreed = false;
    for (int i = 0; i < 100 && !agreed; ++i) {
        const auto before = std::filesystem::space(folder.path.string()).available;
        ASSERT_TRUE(uEnvironment::getFreeSpace(folder.path.string().c_str(), bytes));
        const auto after = std::filesystem::space(folder.path.string()).available;
        agreed = bytes >= std::min(before, after) && bytes <= std::max(before, after);
    }
    EXPECT_TRUE(agreed) << bytes;
    EXPECT_FALSE(uEnvironment::getFreeSpace(folder.file("none").c_str(), bytes));
}

TEST_F(uEnvironmentDirectories, ScopedChangeEndsWithItsScope) {
    const std::filesystem::path before = workingDirectory();
    {
        const uEnvironment::ScopedDirectoryChanger changer(folder.path.string().c_str());
        EXPECT_EQ(workingDirectory(), std::filesystem::canonical(folder.path.string()));
    }
    EXPECT_EQ(workingDirectory(), before);
}

TEST_F(uEnvironmentDirectories, ScopedChangeIsMadeOnce) {
    const std::filesystem::path before = workingDirectory();
    {
        uEnvironment::ScopedDirectoryChanger changer;
        changer.change(nullptr);
        changer.change(folder.path.string().c_str());
        EXPECT_EQ(failureText<source_utilities_error>([&] { changer.change(folder.path.string().c_str()); }),
                  "can't temporarily change the working directory again until its restored");
        changer.change(nullptr);
    }
    EXPECT_EQ(workingDirectory(), before);
}

TEST_F(uEnvironmentDirectories, ChangeToAMissingDirectoryFails) {
    const std::filesystem::path before = workingDirectory();
    const std::string missing = folder.file("none");
    uEnvironment::ScopedDirectoryChanger changer;
    EXPECT_EQ(failureText<source_utilities_error>([&] { changer.change(missing.c_str()); }),
              "failed to temporarily change the working directory to \"" + missing + "\"");
    EXPECT_EQ(workingDirectory(), before);
}

TEST_F(uEnvironmentDirectories, ScopedChangeThatWasNeverMadeRestoresNothing) {
    const std::filesystem::path before = workingDirectory();
    {
        const uEnvironment::ScopedDirectoryChanger idle;
        std::filesystem::current_path(folder.path.string());
    }
    EXPECT_EQ(workingDirectory(), std::filesystem::canonical(folder.path.string()));
    std::filesystem::current_path(before);
}

} // namespace
} // namespace VX_QRS
