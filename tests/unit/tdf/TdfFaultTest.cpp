#include "FileFaults.h"
#include "TdfTestSupport.h"

// Texts of the operations when a system call fails in the middle.

namespace {

using namespace tdf_test;

class TdfFaultTest : public TdfTest {
protected:
    TdfFaultTest() { writeBytes(path, "TDF1"); }

    static constexpr int all = std::numeric_limits<int>::max();

    std::string beginWith(Function function, int firstFailing, int count = all) {
        return textOfFailure([&] {
            const FileFault fault(function, firstFailing, count);
            begin("Name");
        });
    }
    std::string appendWith(Function function, int firstFailing, int count = all) {
        return textOfFailure([&] {
            const FileFault fault(function, firstFailing, count);
            append(4, "abcdefgh");
        });
    }
};

TEST_F(TdfFaultTest, AFileThatOpensForReadingButNotForWritingIsReportedByBothOperations) {
    EXPECT_EQ(beginWith(Function::Open, 1), "File name passed to save file is not valid.");
    EXPECT_EQ(beginWith(Function::Open, 1, 1), "Could not open TDF file as specified.");
    EXPECT_EQ(readBytes(path), "TDF1");
    begin("N");
    EXPECT_EQ(appendWith(Function::Open, 1), "File name passed to save file is not valid.");
    EXPECT_EQ(appendWith(Function::Open, 1, 1), "Could not open TDF file as specified.");
    EXPECT_EQ(readBytes(path), "TDF1\x0d\0\0\0\x01\0\0\0\x01\0\0\0N"s);
}

TEST_F(TdfFaultTest, WrongArgumentsAreReportedBeforeAFileThatCannotBeWritten) {
    begin("N");
    std::uint32_t size = 77;
    const FileFault fault(Function::Open, 1, 1);
    EXPECT_EQ(textOfFailure([&] { TdfFile::appendSectionData(path.c_str(), "N", 3, "x", 1, 1, &size); }),
              "Section header offset to save data is not valid.");
    const FileFault again(Function::Open, 1, 1);
    EXPECT_EQ(textOfFailure([&] { TdfFile::appendSectionData(path.c_str(), "N", 4, nullptr, 1, 1, &size); }),
              "No data to write TDF.");
}

// Four writes: size, version, length, name; and the size again.
TEST_F(TdfFaultTest, EachFieldOfANewSectionHasItsText) {
    EXPECT_EQ(beginWith(Function::Write, 1), "Write error -  TDF section header size.");
    for (const int field : {2, 3, 4}) {
        EXPECT_EQ(beginWith(Function::Write, field), "Write error -  TDF section name and version.") << field;
    }
    EXPECT_EQ(beginWith(Function::Write, 5), "Write error - size of TDF header.");
    EXPECT_EQ(beginWith(Function::Write, 6), "no failure");
}

TEST_F(TdfFaultTest, ADiskThatIsFullOnlyAtTheWriteIsReportedAtTheSameStep) {
    // One system also flushes inside its seeks, so the steps are distinguished by their texts.
    std::vector<std::string> texts;
    for (int flush = 1; texts.empty() || texts.back() != "no failure"; ++flush) {
        const std::string text = beginWith(Function::Flush, flush);
        if (texts.empty() || texts.back() != text) {
            texts.push_back(text);
        }
    }
    EXPECT_THAT(texts, testing::ElementsAre("Write error -  TDF section header size.",
                                            "Write error -  TDF section name and version.",
                                            "Write error - size of TDF header.", "no failure"));
}

TEST_F(TdfFaultTest, TheOffsetIsKnownAlsoWhenTheHeaderCouldNotBeWritten) {
    std::uint32_t offset = 0;
    const FileFault fault(Function::Write, 2);
    EXPECT_THROW(TdfFile::beginSection(path.c_str(), "N", 1, &offset), cZarnError);
    EXPECT_EQ(offset, 4U);
}

TEST_F(TdfFaultTest, DataThatCannotBeWrittenLeaveTheSizeOfTheSectionAsItWas) {
    begin("N");
    append(4, "ABCDEFGH");
    const std::string before = readBytes(path);
    EXPECT_EQ(appendWith(Function::Write, 1), "Write I/O error - unable to write section data.");
    EXPECT_EQ(appendWith(Function::Flush, 1), "Write I/O error - unable to write section data.");
    EXPECT_EQ(readBytes(path).substr(0, before.size()), before);
}

TEST_F(TdfFaultTest, AnErrorFlagAfterTheDataMeansThatTheyAreCorrupted) {
    begin("N");
    EXPECT_EQ(appendWith(Function::Error, 1), "Write error - section data corrupted.");
    EXPECT_EQ(readBytes(path).substr(4, 4), "\x0d\0\0\0"s);
}

TEST_F(TdfFaultTest, ASizeThatCannotBeWrittenAfterTheDataIsReported) {
    begin("N");
    EXPECT_EQ(appendWith(Function::Write, 2), "Write error - size of TDF header.");
    EXPECT_EQ(appendWith(Function::Flush, 2), "Write error - size of TDF header.");
}

TEST_F(TdfFaultTest, ASizeThatCannotBeReadIsReported) {
    begin("N");
    EXPECT_EQ(appendWith(Function::Read, 1), "Write I/O error - unable to determine section length.");
}

TEST_F(TdfFaultTest, ANewFileThatCannotBeCreatedOrWrittenIsReported) {
    const auto createWith = [&](Function function) {
        return textOfFailure([&] {
            const FileFault fault(function, 1);
            TdfFile::createFile(path.c_str());
        });
    };
    EXPECT_EQ(createWith(Function::Open), "Could not create TDF file as specified.");
    EXPECT_EQ(createWith(Function::Write), "Write error -  TDF file identifier.");
    EXPECT_EQ(createWith(Function::Flush), "Write error -  TDF file identifier.");
}

TEST_F(TdfFaultTest, AFileRemovedAfterTheCheckOfItsNameIsReportedByEveryReader) {
    begin("N");
    const std::string text = "Could not open TDF file as specified.";
    std::uint32_t number = 77;
    char byte = 0;
    TdfSection section;
    std::vector<TdfSection> sections(1);
    const std::function<void()> readers[] = {
        [&] { TdfFile::listSections(path.c_str(), &sections); },
        [&] { TdfFile::findSection(path.c_str(), "N", &section); },
        [&] { TdfFile::findSectionSize(path.c_str(), "N", &number); },
        [&] { TdfFile::loadSection(path.c_str(), "N", &byte, 1, &number); },
        [&] { TdfFile::loadSectionPart(path.c_str(), section, 0, &byte, 1, &number); },
    };
    for (const auto& reader : readers) {
        EXPECT_EQ(textOfFailure([&] {
                      const FileFault fault(Function::Open, 2);
                      reader();
                  }),
                  text);
    }
    EXPECT_TRUE(sections.empty());
    EXPECT_EQ(number, 0U);
}

TEST_F(TdfFaultTest, DataThatCannotBeReadAreReportedAsCorrupted) {
    append(begin("N"), "abcdefgh");
    char bytes[8];
    std::uint32_t loaded = 77;
    // The identifier, three words of the header and the name come first.
    EXPECT_EQ(textOfFailure([&] {
                  const FileFault fault(Function::Read, 6);
                  TdfFile::loadSection(path.c_str(), "N", bytes, sizeof bytes, &loaded);
              }),
              "Read I/O error - section data corrupted.");
    EXPECT_EQ(loaded, 0U);
}

TEST_F(TdfFaultTest, AHeaderThatCannotBeReadIsNoFormat) {
    begin("N");
    for (const int read : {2, 3, 4, 5}) {
        TdfSection section;
        EXPECT_EQ(textOfFailure([&] {
                      const FileFault fault(Function::Read, read);
                      TdfFile::findSection(path.c_str(), "N", &section);
                  }),
                  "Invalid TDF format.")
            << read;
    }
}

} // namespace
