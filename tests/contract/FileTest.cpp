#include "common/source/source_utilities/NativeFile.h"
#include "common/source/source_utilities/OutputFile.h"
#include "common/source/source_utilities/uFile.h"
#include "tests/contract/Contract.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <list>
#include <sstream>
#include <string>
#include <vector>

namespace {

using test_support::TemporaryFolder;
using VX_QRS::OutputFile;
using VX_QRS::uFile;
using namespace VX_QRS::nativeFile;
using Names = std::vector<std::string>;

CONTRACT(Files, ConstructorOpensNothing) {
    const TemporaryFolder folder;
    const std::string path = folder.file("file");
    uFile file(path.c_str(), "w+");
    EXPECT_FALSE(file.isOpen());
    EXPECT_FALSE(folder.has("file"));
    EXPECT_EQ(file.write("a", 1), 0U);
    EXPECT_FALSE(file.flush());
    file.close();
}

CONTRACT(Files, WritesToTheStoredPath) {
    const TemporaryFolder folder;
    const std::string path = folder.file("file");
    uFile file(path.c_str(), "r");
    ASSERT_TRUE(file.open(nullptr, "w+"));
    EXPECT_EQ(file.write("one\n", 4), 4U);
    EXPECT_TRUE(file.flush());
    EXPECT_EQ(folder.read("file"), "one\n") << "read while it is open for writing";
    EXPECT_EQ(file.getPath(), path);
}

CONTRACT(Files, OpeningWithAPathStoresIt) {
    const TemporaryFolder folder;
    const std::string path = folder.file("file");
    uFile file;
    EXPECT_FALSE(file.open(nullptr, "w+"));
    ASSERT_TRUE(file.open(path.c_str(), "w+"));
    EXPECT_EQ(file.getPath(), path);
}

CONTRACT(Files, AppendingKeepsWhatIsThere) {
    const TemporaryFolder folder;
    const std::string path = folder.file("file");
    folder.write("file", "old\n");
    uFile file;
    ASSERT_TRUE(file.open(path.c_str(), "a+"));
    file.write("new\n", 4);
    file.close();
    EXPECT_FALSE(file.isOpen());
    EXPECT_EQ(folder.read("file"), "old\nnew\n");
    ASSERT_TRUE(file.open(nullptr, "w+"));
    file.close();
    EXPECT_EQ(folder.read("file"), "");
}

CONTRACT(Files, MissingFolderFails) {
    const TemporaryFolder folder;
    uFile file;
    EXPECT_FALSE(file.open((folder.file("none") + "/file").c_str(), "w+"));
    EXPECT_FALSE(file.isOpen());
}

CONTRACT(Files, OthersMayWriteAtTheSameTime) {
    const TemporaryFolder folder;
    const std::string path = folder.file("file");
    uFile first;
    uFile second;
    ASSERT_TRUE(first.open(path.c_str(), "a+"));
    ASSERT_TRUE(second.open(path.c_str(), "a+"));
    first.write("1\n", 2);
    first.flush();
    second.write("2\n", 2);
    second.flush();
    EXPECT_EQ(folder.read("file"), "1\n2\n");
}

CONTRACT(Files, OpeningAgainClosesTheFileBefore) {
    const TemporaryFolder folder;
    const std::string path = folder.file("file");
    uFile file;
    ASSERT_TRUE(file.open(path.c_str(), "w+"));
    file.write("kept", 4);
    ASSERT_TRUE(file.open(folder.file("other").c_str(), "w+"));
    EXPECT_EQ(folder.read("file"), "kept");
}

CONTRACT(Files, WritesOfSeveralThreadsStayWhole) {
    const TemporaryFolder folder;
    uFile file;
    ASSERT_TRUE(file.open(folder.file("file").c_str(), "w+"));
    constexpr int lines = 30;
    {
        std::list<contract::Thread> threads;
        for (char c = 'a'; c < 'e'; ++c) {
            threads.emplace_back([&file, c] {
                const std::string line = std::string(50, c) + "\n";
                for (int i = 0; i < lines; ++i) {
                    file.write(line.data(), line.size());
                    file.flush();
                }
            });
        }
    }
    file.close();
    std::istringstream text(folder.read("file"));
    int found = 0;
    for (std::string line; std::getline(text, line); ++found) {
        ASSERT_EQ(line, std::string(50, line.front()));
    }
    EXPECT_EQ(found, 4 * lines);
}

CONTRACT(OutputFiles, WhatIsFlushedOrClosedIsInTheFile) {
    const TemporaryFolder folder;
    OutputFile file(folder.file("file"), OutputFile::Mode::binary);
    ASSERT_TRUE(file.isOpen());
    EXPECT_TRUE(file.write("one\r\n"));
    EXPECT_TRUE(file.flush());
    EXPECT_EQ(folder.read("file").substr(0, 3), "one");
    EXPECT_TRUE(file.write("two"));
    EXPECT_TRUE(file.close());
    EXPECT_FALSE(file.isOpen());
    EXPECT_TRUE(folder.read("file").ends_with("two"));
    EXPECT_FALSE(file.write("three"));
    EXPECT_FALSE(file.flush());
    EXPECT_FALSE(file.close());
}

CONTRACT(OutputFiles, MissingFolderFails) {
    const TemporaryFolder folder;
    OutputFile file(folder.file("none") + "/file", OutputFile::Mode::text);
    EXPECT_FALSE(file.isOpen());
    EXPECT_FALSE(file.write("x"));
    EXPECT_FALSE(file.close());
}

CONTRACT(NativeFiles, NewOneIsMadeOnce) {
    const TemporaryFolder folder;
    std::FILE* stream = nullptr;
    ASSERT_EQ(create(folder.file("file"), stream), Outcome::done);
    OutputFile file(stream);
    EXPECT_TRUE(file.write("first"));
    EXPECT_TRUE(file.close());
    EXPECT_EQ(create(folder.file("file"), stream), Outcome::taken);
    EXPECT_EQ(folder.read("file"), "first");
    EXPECT_EQ(create(folder.file("none") + "/file", stream), Outcome::refused);
}

CONTRACT(NativeFiles, KindsAndRights) {
    const TemporaryFolder folder;
    folder.write("file", "x");
    EXPECT_EQ(kindOf(folder.file("file")), Kind::regular);
    EXPECT_EQ(kindOf(folder.file("none")), Kind::missing);
    EXPECT_EQ(kindOf(folder.path.string()), Kind::other);
    EXPECT_TRUE(isWritable(folder.file("file")));
    EXPECT_FALSE(isWritable(folder.file("none")));
    EXPECT_EQ(folder.read("file"), "x");
}

CONTRACT(NativeFiles, ReplacementTakesThePlaceOfTheFile) {
    const TemporaryFolder folder;
    folder.write("file", "old");
    folder.write("next", "new");
    EXPECT_TRUE(replace(folder.file("next"), folder.file("file")));
    EXPECT_EQ(folder.read("file"), "new");
    EXPECT_EQ(folder.names(), Names{"file"});
    EXPECT_FALSE(replace(folder.file("none"), folder.file("file")));
    EXPECT_EQ(folder.read("file"), "new");
}

CONTRACT(NativeFiles, SecondNameIsAnotherNameOfTheSameFile) {
    const TemporaryFolder folder;
    folder.write("file", "x");
    folder.write("taken", "y");
    ASSERT_EQ(link(folder.file("file"), folder.file("second")), Outcome::done);
    EXPECT_EQ(folder.read("second"), "x");
    EXPECT_EQ(link(folder.file("file"), folder.file("taken")), Outcome::taken);
    EXPECT_EQ(folder.read("taken"), "y");
    EXPECT_EQ(link(folder.file("none"), folder.file("third")), Outcome::refused);
    EXPECT_TRUE(remove(folder.file("file")));
    EXPECT_EQ(folder.read("second"), "x");
}

CONTRACT(NativeFiles, MoveNeverReplaces) {
    const TemporaryFolder folder;
    folder.write("file", "x");
    folder.write("taken", "y");
    EXPECT_EQ(move(folder.file("file"), folder.file("taken")), Outcome::taken);
    EXPECT_EQ(folder.names(), (Names{"file", "taken"}));
    EXPECT_EQ(move(folder.file("file"), folder.file("moved")), Outcome::done);
    EXPECT_EQ(folder.read("moved"), "x");
    EXPECT_EQ(move(folder.file("file"), folder.file("again")), Outcome::refused);
    EXPECT_FALSE(remove(folder.file("file")));
    EXPECT_EQ(folder.names(), (Names{"moved", "taken"}));
}

} // namespace
