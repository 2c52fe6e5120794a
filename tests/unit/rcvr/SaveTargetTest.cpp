#include "../tdf/FileFaults.h"
#include "DataFixture.h"
#include "OpenElsewhere.h"
#include "tdf/TdfFile.h"

// Places that take no file, or only a part of one: the stated error, the recording as it was, and what was saved is sound.

namespace {

using namespace rcvr_test;
using testing::StartsWith;

class SaveTarget : public Data {
protected:
    const std::string recording = samples(0, 20000);
    SaveTarget() { upload(recording); }
    ~SaveTarget() override { EXPECT_EQ(readBytes(uploadFile), recording); }

    void expectNotOpened(const std::string& path) {
        for (const unsigned format : {0U, 2U, 7U}) {
            EXPECT_THAT(failureOf([&] { driver->SaveFile(path, format); }),
                        StartsWith("Error 6: invalid file : Could not open file"))
                << path;
        }
    }
};

TEST_F(SaveTarget, AFolder) {
    const std::string place = folder.file("a-folder");
    std::filesystem::create_directory(place);
    expectNotOpened(place);
}

TEST_F(SaveTarget, AReadOnlyFolder) {
    using std::filesystem::perms;
    std::string place = folder.file("read-only");
    std::filesystem::create_directory(place);
    std::filesystem::permissions(place, perms::owner_read | perms::owner_exec);
    // A user with all rights writes there all the same; the system's own tree accepts no file.
    const std::string probe = place + "/probe";
    if (std::ofstream(probe).is_open()) {
        std::filesystem::remove(probe);
        place = "/sys";
    }
    expectNotOpened(place + "/saved");
    std::filesystem::permissions(folder.file("read-only"), perms::owner_all);
}

TEST_F(SaveTarget, AReadOnlyFile) {
    writeBytes(target, "TDF1");
    std::filesystem::permissions(target, std::filesystem::perms::owner_read);
    if (!std::ofstream(target, std::ios::app).is_open()) { // not for a user with all rights
        expectNotOpened(target);
        EXPECT_EQ(readBytes(target), "TDF1");
    }
    std::filesystem::permissions(target, std::filesystem::perms::owner_all);
}

TEST_F(SaveTarget, AFileThatIsOpenElsewhere) {
    writeBytes(target, "TDF1");
    {
        const OpenElsewhere other(target);
        if (OpenElsewhere::refusesOthers()) {
            expectNotOpened(target);
        } else {
            driver->SaveFile(target, 2);
        }
    }
    EXPECT_EQ(readBytes(target), OpenElsewhere::refusesOthers() ? "TDF1" : recording);
    driver->SaveFile(target, 2);
    EXPECT_EQ(readBytes(target), recording);
}

// A chunk is data and size; the disk is full at one of them.
TEST_F(SaveTarget, ADiskThatFillsUpKeepsTheChunksThatWereFinished) {
    const std::string path = folder.file("trace.tdf");
    std::vector<std::uint32_t> saved;
    for (int write = 1;; ++write) {
        OrvRcvr::TdfFile::createFile(path.c_str());
        std::string failure;
        {
            const tdf_test::FileFault fault(tdf_test::Function::Write, write);
            failure = failureOf([&] { driver->SaveFile(path, 0); });
        }
        if (failure.empty()) {
            break;
        }
        EXPECT_THAT(failure, StartsWith("Error 1: Write"));
        std::vector<OrvRcvr::TdfSection> sections;
        try {
            OrvRcvr::TdfFile::listSections(path.c_str(), &sections);
        } catch (const Vx::Qrs::Zarn::cZarnError&) { // a header or a partial chunk is at the end
        }
        saved.push_back(sections.empty() ? 0 : sections[0].dataSize);
        if (!sections.empty()) {
            EXPECT_EQ(readBytes(path).substr(sections[0].dataOffset, sections[0].dataSize),
                      recording.substr(0, saved.back()));
        }
    }
    // Five writes of the header, then two for each of three chunks.
    EXPECT_THAT(saved, testing::ElementsAre(0, 0, 0, 0, 0, 0, 0, 65536, 65536, 131072, 131072));
}

} // namespace
