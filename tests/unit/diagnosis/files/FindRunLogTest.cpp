#include "diagnosis/analysis/DiagnosticSet.h"
#include "diagnosis/files/RunLog.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/unit/diagnosis/files/DrawnFiles.h"

#include <gmock/gmock.h>

// What a log adds to the diagnostic files beside it.

namespace diagnosis {
namespace {

using testing::ElementsAre;

constexpr const char* text =
    "    E 15:49:36:348 | MpxEcomProxy: server version is 1\r\n"
    "M     15:49:36:349 | ORV Receiver : loading settings from C:\\lab\\board.xml\r\n"
    "M     15:49:36:400 | ORV Receiver (orv_client_frontend:146) setting 0 not used : eXMTR:(11) : transmitter "
    "failure\r\n"
    "M     15:49:36:400 | ORV Receiver (orv_client_frontend:153) setting 1 measured at 5.00000e+07 Hz\r\n"
    "M     15:49:36:576 | ORV Receiver (orv_client_frontend:184) failed freq1 (5.00000e+07) : eCALIBRATE(12) : failed "
    "to calibrate channel : clock margin too low\r\n"
    "    E 15:49:36:580 | ORV Receiver : SetConfiguration std exception : eCALIBRATE(12) : failed to calibrate channel "
    ": clock margin too low\r\n";

TEST(FindRunLog, ReasonsAreReportedWithoutTheirClasses) {
    const RunLog log = parseRunLog(text, false);
    EXPECT_EQ(log.stem, "board");
    EXPECT_THAT(log.failures(), ElementsAre("setting 0: transmitter failure",
                                            "setting 1: failed to calibrate channel : clock margin too low"));
    EXPECT_EQ(log.failedReason(1), "failed to calibrate channel : clock margin too low");
    EXPECT_FALSE(log.failedReason(0));
    EXPECT_EQ(plainReason(log.failure), "failed to calibrate channel : clock margin too low");
    EXPECT_EQ(log.transmitterFailure(), "transmitter failure");
}

TEST(FindRunLog, OnlyTheLastConfigurationOfTheSameNameCounts) {
    const test_support::TemporaryFolder folder;
    const auto found = [&](const std::string& content, const char* stem) {
        folder.write("vx_trace_log_1_2.txt", content);
        return findRunLog(folder.path, stem);
    };
    EXPECT_FALSE(found(text, "boar"));
    EXPECT_FALSE(found("", "board"));
    const auto again = found(std::string(text) + "M     15:50:00:000 | ORV Receiver : loading settings from "
                                                 "/lab/board.xml\n",
                             "board");
    ASSERT_TRUE(again);
    EXPECT_EQ(again->failure, "");
    EXPECT_EQ(again->transmitterFailure(), "");
    EXPECT_FALSE(found(std::string(text) + "M     15:50:00:000 | ORV Receiver : loading settings from "
                                           "/lab/other.xml\n",
                       "board"));
}

TEST(FindRunLog, LogsAreFoundBesideTheFilesAndInTheFolderAbove) {
    const test_support::TemporaryFolder folder;
    std::filesystem::create_directories(folder.path / "data");
    folder.write("data/board.freq1.cal.txt", drawn::report({{6, 5}}));
    EXPECT_FALSE(readDiagnostics(folder.path).log);
    folder.write("vx_trace_log_11212026_77.txt", text);
    folder.write("vx_trace_log_11212026_78.txt", "nothing of this run\n");
    const auto above = readDiagnostics(folder.path).log;
    ASSERT_TRUE(above);
    EXPECT_EQ(above->file, "vx_trace_log_11212026_77.txt");
    std::filesystem::rename(folder.path / "vx_trace_log_11212026_77.txt",
                            folder.path / "data" / "vx_trace_log_1_2.txt");
    EXPECT_TRUE(readDiagnostics(folder.path).log);
}

} // namespace
} // namespace diagnosis
