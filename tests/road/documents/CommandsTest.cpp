#include "tests/road/Orvtrace.h"
#include "tests/road/documents/ShellBlocks.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>
#include <span>

// Commands that documents show are run as a reader would: those of each document in their order, in one empty folder
// that has the programs in the search path and in build/linux/bin.

namespace {

namespace fs = std::filesystem;

struct Exception {
    const char* document;
    const char* command; ///< how the block's first command, or that one command, begins
    const char* reason;
};

/// Blocks that are not run.
constexpr Exception blocksNotRun[] = {
    {"README.md", "./demo", "builds the tree"},
    {"docs/building.md", "./demo", "builds the tree"},
    {"docs/building.md", "cmake --preset linux", "builds the tree"},
    {"docs/building.md", "tools/install-packages", "installs packages, builds the tree"},
    {"docs/building.md", "ctest", "runs the tests"},
    {"docs/building.md", "cmake --preset coverage", "builds the tree"},
    {"docs/building.md", "cmake --preset fuzz", "builds the tree"},
    {"docs/building.md", "cmake --install", "installs; tests/package does the same"},
    {"docs/building.md", "cmake -S examples/small-host", "builds; tests/package does the same"},
    {"docs/integration.md", "export", "needs a host that has been built; tests/package does the same"},
    {"docs/schedule-search.md", "", "searches, for minutes, in a build of its own"},
    {"docs/measurements.md", "", "measures, for minutes, in builds of its own"},
};

/// Commands of other blocks that are not run.
constexpr Exception commandsNotRun[] = {
    {"docs/report.md", "orvtrace burst FILE.cap.txt", "FILE is the reader's"},
};

/// What a document takes for granted.
struct Assumption {
    const char* document;
    const char* command; ///< run first
    const char* reason;
};
constexpr Assumption assumed[] = {
    {"docs/report.md", "orvtrace record --scenario bench-cable --out run", "it is about a run that the reader has"},
};

bool isIn(std::span<const Exception> list, const std::string& document, const std::string& command) {
    return std::any_of(list.begin(), list.end(), [&](const Exception& entry) {
        return document == entry.document && command.starts_with(entry.command);
    });
}

std::vector<std::string> documents() {
    std::vector<std::string> names{"README.md"};
    for (const auto& entry : fs::recursive_directory_iterator(fs::path(ORV_SOURCE_ROOT) / "docs")) {
        if (entry.path().extension() == ".md") {
            names.push_back(entry.path().lexically_relative(ORV_SOURCE_ROOT).generic_string());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<ShellBlock> blocksOf(const std::string& document) {
    return shellBlocksOf(readBytes(fs::path(ORV_SOURCE_ROOT) / document));
}

/// A shell script that ends at the first command that fails.
std::string scriptOf(const std::string& document) {
    std::string script;
    for (const ShellBlock& block : blocksOf(document)) {
        if (isIn(blocksNotRun, document, block.commands.front())) {
            continue;
        }
        for (const std::string& command : block.commands) {
            if (isIn(commandsNotRun, document, command)) {
                continue;
            }
            script += command + "\ncode=$?\n[ $code -eq 0 ] || { echo \"" + document + ":" +
                      std::to_string(block.line) + ": a command ends with code $code\" >&2; exit 1; }\n";
        }
    }
    return script;
}

/// Those that have commands to run.
std::vector<std::string> documentsToFollow() {
    std::vector<std::string> names;
    for (const std::string& document : documents()) {
        if (!scriptOf(document).empty()) {
            names.push_back(document);
        }
    }
    return names;
}

class DocumentCommands : public testing::TestWithParam<std::string> {};

TEST_P(DocumentCommands, AllSucceedInTheirOrderInAnEmptyFolder) {
    const RunSpace space;
    copyOfInstallation(space.file("folder") / "build" / "linux" / "bin");
    std::string script = "PATH=\"$PWD/build/linux/bin:$PATH\"\nset -v\n";
    for (const Assumption& before : assumed) {
        if (GetParam() == before.document) {
            script += std::string(before.command) + "\n";
        }
    }
    const fs::path file = space.write("script.sh", script + scriptOf(GetParam()));
    RunningProgram shell("/bin/sh", {file.string()}, space.file("stdout.txt"), space.file("stderr.txt"),
                         space.file("folder"));
    EXPECT_EQ(shell.wait(), 0) << readBytes(space.file("stderr.txt"));
}

std::string caseName(const testing::TestParamInfo<std::string>& tested) {
    std::string name = fs::path(tested.param).stem().string();
    std::erase_if(name, [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0; });
    return name;
}

INSTANTIATE_TEST_SUITE_P(EachDocument, DocumentCommands, testing::ValuesIn(documentsToFollow()), caseName);

TEST(DocumentBlocks, EveryExceptionIsNeeded) {
    const auto expectMet = [](const auto& entry, bool firstOnly) {
        bool met = false;
        for (const ShellBlock& block : blocksOf(entry.document)) {
            for (const std::string& command : block.commands) {
                met = met || command.starts_with(entry.command);
                if (firstOnly) {
                    break;
                }
            }
        }
        EXPECT_TRUE(met) << entry.document << " has no " << entry.command;
    };
    for (const Exception& entry : blocksNotRun) {
        expectMet(entry, true);
    }
    for (const Exception& entry : commandsNotRun) {
        expectMet(entry, false);
    }
}

TEST(DocumentBlocks, CommandsAreFoundWithoutExplanationsAndOutput) {
    const auto blocks =
        shellBlocksOf("text\n\n    # help\n    orvtrace --help      what it can\n    ./orvtrace x\n\ntext\n"
                      "    a table\n\n    $ orvtrace y\n    output\n    $ orvtrace z\n\n"
                      "    cmake \\\n          --build x   it builds\n");
    ASSERT_EQ(blocks.size(), 3U);
    EXPECT_EQ(blocks[0].line, 3U);
    EXPECT_THAT(blocks[0].commands, testing::ElementsAre("orvtrace --help", "./orvtrace x"));
    EXPECT_EQ(blocks[1].line, 10U);
    EXPECT_THAT(blocks[1].commands, testing::ElementsAre("orvtrace y", "orvtrace z"));
    EXPECT_THAT(blocks[2].commands, testing::ElementsAre("cmake --build x"));
}

} // namespace
