#include "../DataFixture.h"
#include "tdf/TdfFile.h"
#include "tests/unit/common/posix/FileSizeLimit.h"

// The system itself cuts a file short here, in the middle of a chunk.

namespace {

using namespace rcvr_test;
using VX_QRS::test::FileSizeLimit;

TEST_F(Data, ARawSaveThatIsCutShortHoldsTheBeginningOfTheRecording) {
    const std::string recording = samples(0, 30000);
    upload(recording);
    std::string failure;
    {
        const FileSizeLimit limit(100000);
        failure = failureOf([&] { driver->SaveFile(target, 2); });
    }
    EXPECT_EQ(failure, "Error 6: invalid file : Internal error saving file");
    EXPECT_EQ(readBytes(target), recording.substr(0, 100000));
    EXPECT_EQ(readBytes(uploadFile), recording);
}

TEST_F(Data, ATraceDataFileThatIsCutShortHoldsTheChunksThatWereFinished) {
    const std::string recording = samples(0, 30000);
    upload(recording);
    const std::string path = folder.file("trace.tdf");
    OrvRcvr::TdfFile::createFile(path.c_str());
    std::string failure;
    {
        const FileSizeLimit limit(150000);
        failure = failureOf([&] { driver->SaveFile(path, 0); });
    }
    EXPECT_EQ(failure, "Error 1: Write I/O error - unable to write section data.");
    OrvRcvr::TdfSection section;
    OrvRcvr::TdfFile::findSection(path.c_str(), "BinTraceData", &section);
    EXPECT_EQ(section.dataSize, 131072U);
    EXPECT_EQ(readBytes(path).substr(32, section.dataSize), recording.substr(0, section.dataSize));
    EXPECT_EQ(readBytes(uploadFile), recording);
}

} // namespace
