#include "diagnosis/analysis/DiagnosticSet.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/unit/diagnosis/files/DrawnFiles.h"
#include "toolkit/ExitCode.h"

#include <gmock/gmock.h>

namespace diagnosis {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

void writeRun(const test_support::TemporaryFolder& folder, const std::string& stem) {
    folder.write(stem + ".freq1.cal.txt", drawn::report({{2, 1}}));
    folder.write(stem + ".freq10.cal.txt", drawn::report({{2, 1}}));
    folder.write(stem + ".freq2.cap.txt", drawn::burst({"0011", "0101"}));
    folder.write(stem + ".err.cap.txt", drawn::burst({"0011", "0101"}));
    folder.write(stem + ".reg.txt", "\n0x08000000=0x0000\n");
    folder.write(stem + ".cfg", "[Channel 0]\ndrmXmtr=pti\n");
    folder.write(stem + ".cache", "0,1\n");
    folder.write(stem + ".bin", "12345678");
    folder.write("other.txt", "no file of ours");
}

toolkit::Failure failureAt(const std::filesystem::path& place) {
    try {
        readDiagnostics(place);
    } catch (const toolkit::Failure& failure) {
        return failure;
    }
    ADD_FAILURE() << "no failure";
    return {toolkit::ExitCode::Done, ""};
}

TEST(DiagnosticSet, TheConnectorsPinsComeFromTheBurstsOtherwiseFromThePinMap) {
    DiagnosticSet set;
    set.base.cal = parseCalFile(drawn::report({{2, 1}, {2, 1}}), "x");
    EXPECT_EQ(set.dataPins(), 2U);
    EXPECT_EQ(set.lane(1).emu, std::nullopt);
    set.pinMap = "5,1,3";
    EXPECT_EQ(set.lane(0).emu, 5U);
    EXPECT_EQ(set.lane(1).emu, 3U) << "the top bit is the map's last";
    EXPECT_EQ(set.lane(2).emu, 1U);
    set.base.burst = parseBurst(drawn::burst({"0011", "0101", "0101"}), "x");
    EXPECT_EQ(set.lane(1).emu, 4U) << "as wired";
    set.pinMap = "5,1";
    set.base.burst.reset();
    EXPECT_EQ(set.lane(1).emu, std::nullopt) << "a map of another run";
}

TEST(DiagnosticSet, AttemptsStandInTheOrderOfTheirTries) {
    const test_support::TemporaryFolder folder;
    writeRun(folder, "run");
    const DiagnosticSet set = readDiagnostics(folder.path);
    EXPECT_EQ(set.name, "run");
    ASSERT_EQ(set.attempts.size(), 3U);
    EXPECT_EQ(set.attempts[0].setting, 10U);
    EXPECT_EQ(set.attempts[1].setting, 2U);
    EXPECT_EQ(set.attempts[2].setting, 1U);
    EXPECT_TRUE(set.attempts[1].burst);
    EXPECT_FALSE(set.attempts[1].cal);
    EXPECT_TRUE(set.base.failedBurst);
    EXPECT_FALSE(set.base.burst) << "the burst of a failed margin is not the last burst";
    EXPECT_TRUE(set.base.registers);
    EXPECT_EQ(set.pinMap, "0,1");
    EXPECT_EQ(set.recordedBytes, 8U);
    EXPECT_EQ(set.exportKind(), "pti");
    EXPECT_EQ(set.files.size(), 8U);
    EXPECT_THAT(set.troubles, IsEmpty());
}

TEST(DiagnosticSet, AStemAFileAndAFolderAboveGiveTheSame) {
    const test_support::TemporaryFolder folder;
    std::filesystem::create_directories(folder.path / "a" / "b");
    folder.write("a/b/run.freq1.cal.txt", drawn::report({{2, 1}}));
    const auto stem = folder.path / "a" / "b" / "run";
    for (const std::filesystem::path& place :
         {folder.path, folder.path / "a" / "b", stem, std::filesystem::path(stem.string() + ".freq1"),
          std::filesystem::path(stem.string() + ".freq1.cal.txt")}) {
        const DiagnosticSet set = readDiagnostics(place);
        EXPECT_EQ(set.name, "run") << place;
        EXPECT_EQ(set.attempts.size(), 1U) << place;
    }
}

TEST(DiagnosticSet, ADamagedFileIsLeftOutAndNamed) {
    const test_support::TemporaryFolder folder;
    writeRun(folder, "run");
    folder.write("run.freq1.cal.txt", "exportFrequency=banana\n");
    const DiagnosticSet set = readDiagnostics(folder.path / "run");
    ASSERT_EQ(set.troubles.size(), 1U);
    EXPECT_THAT(set.troubles[0], HasSubstr("run.freq1.cal.txt:1: expected exportFrequency=NUMBER Hz"));
    EXPECT_EQ(set.attempts.size(), 3U);
    EXPECT_FALSE(set.attempts[2].cal);
}

TEST(DiagnosticSet, AFolderWithoutFilesAndOneWithSeveralRecordingsAreRefused) {
    const test_support::TemporaryFolder folder;
    EXPECT_EQ(failureAt(folder.path).code, toolkit::ExitCode::BadInput);
    EXPECT_THAT(failureAt(folder.path / "none").what(), HasSubstr("no diagnostic files at "));
    writeRun(folder, "one");
    writeRun(folder, "two");
    const toolkit::Failure several = failureAt(folder.path);
    EXPECT_EQ(several.code, toolkit::ExitCode::Usage);
    EXPECT_THAT(several.what(), HasSubstr("holds the files of 2 recordings; name one of them: "));
    EXPECT_EQ(readDiagnostics(folder.path / "two").name, "two");
}

TEST(DiagnosticSet, StemsWithMarksOfTheirOwnStayWhole) {
    const test_support::TemporaryFolder folder;
    folder.write("my.freq.board.cal.txt", drawn::report({{2, 1}}));
    const DiagnosticSet set = readDiagnostics(folder.path);
    EXPECT_EQ(set.name, "my.freq.board");
    EXPECT_TRUE(set.base.cal);
}

} // namespace
} // namespace diagnosis
