#include "diagnosis/Diagnosis.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/unit/diagnosis/files/DrawnFiles.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <iterator>
#include <sstream>

// What another program does with the public header: nothing else of diagnosis is included here, and orv_diagnosis is all
// that is linked.

namespace {

using testing::HasSubstr;
using testing::StartsWith;

/// A run whose only data pin is stuck.
class ARunWithAStuckPin : public testing::Test {
protected:
    ARunWithAStuckPin() {
        const std::string clock = drawn::square(8192, 14, 3);
        folder.write("board.freq0.cap.txt", drawn::burst({clock, clock, std::string(8192, '0')}));
        folder.write("board.freq0.cal.txt", drawn::report({{6, 5}, {0x7FFFFFFF, 0x7FFFFFFF}}));
    }

    const test_support::TemporaryFolder folder;
};

TEST_F(ARunWithAStuckPin, IsJudgedFromItsFolderItsStemAndItsFiles) {
    for (const char* place : {"", "board", "board.freq0.cap.txt"}) {
        const diagnosis::DiagnosticSet set = diagnosis::readDiagnostics(folder.path / place);
        const diagnosis::Diagnosis found = diagnosis::diagnose(set);
        ASSERT_EQ(found.findings.size(), 1U) << place;
        EXPECT_EQ(found.findings[0].kind, diagnosis::FindingKind::PinStuck);
        EXPECT_EQ(found.findings[0].pins, std::vector<std::size_t>{2});
        EXPECT_EQ(found.findings[0].text, "D0 (EMU3) is stuck at 0");
    }
}

TEST_F(ARunWithAStuckPin, IsReportedAsTextAsJsonAndAsAPage) {
    const diagnosis::DiagnosticSet set = diagnosis::readDiagnostics(folder.path);
    const diagnosis::Diagnosis found = diagnosis::diagnose(set);
    EXPECT_THAT(diagnosis::diagnosisText(set, found), HasSubstr("fault: D0 (EMU3) is stuck at 0\n"));
    EXPECT_EQ(diagnosis::diagnosisJson(set, found).at("findings").at(0).at("kind"), "pin-stuck");
    EXPECT_THAT(diagnosis::reportPage(set, found), HasSubstr("D0 (EMU3) is stuck at 0"));
    EXPECT_TRUE(std::filesystem::exists(diagnosis::writeReport(folder.path, {}).file));
}

TEST_F(ARunWithAStuckPin, LeavesABurstThatCanBeExported) {
    const diagnosis::Burst burst = diagnosis::readBurst(folder.path / "board.freq0.cap.txt");
    std::ostringstream picture;
    diagnosis::writeSvg(picture, burst, diagnosis::partOf(burst, 0, 100, {}), "a burst");
    EXPECT_THAT(picture.str(), StartsWith("<svg"));
}

TEST(FindingTable, EveryKindHasItsRowsAndSlug) {
    for (const diagnosis::FindingRow& row : diagnosis::findingTable()) {
        EXPECT_STREQ(diagnosis::slugOf(row.kind), row.slug);
        EXPECT_EQ(&diagnosis::rowOf(row.id), &row);
    }
}

} // namespace
