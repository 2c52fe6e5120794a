#include "TdfTestSupport.h"

#include <cstdlib>
#include <random>

namespace {

using namespace tdf_test;

const std::string identifier = "TDF\x1a\x01\0\0\0"s;

class TdfSectionsTest : public TdfTest {
protected:
    std::vector<TdfSection> list() {
        std::vector<TdfSection> sections;
        TdfFile::listSections(path.c_str(), &sections);
        return sections;
    }
    std::string load(const char* name, std::uint32_t capacity = 100) {
        std::string data(capacity, '?');
        std::uint32_t loaded = 77;
        TdfFile::loadSection(path.c_str(), name, data.data(), capacity, &loaded);
        data.resize(loaded);
        return data;
    }
    void makeThree() {
        TdfFile::createFile(path.c_str());
        append(begin("First", 7), "abcdefgh");
        append(begin(), "ABCDEFGHIJKLMNOP");
        append(begin(), "12345678");
    }
};

TEST_F(TdfSectionsTest, ANewFileHoldsItsIdentifierAndNoSection) {
    TdfFile::createFile(path.c_str());
    EXPECT_EQ(readBytes(path), identifier);
    EXPECT_TRUE(list().empty());
}

TEST_F(TdfSectionsTest, ANewFileReplacesAnOldOne) {
    writeBytes(path, std::string(1000, 'x'));
    TdfFile::createFile(path.c_str());
    EXPECT_EQ(readBytes(path), identifier);
}

TEST_F(TdfSectionsTest, ANewFileNeedsANameThatEndsInTdf) {
    EXPECT_EQ(textOfFailure([] { TdfFile::createFile(nullptr); }), "Null file name to create TDF.");
    EXPECT_EQ(textOfFailure([] { TdfFile::createFile(""); }), "Null file name to create TDF.");
    for (const char* name : {"x", "tdf", "x.tdf.txt", "x.tdfx", "x tdf"}) {
        const std::string file = folder.file(name);
        EXPECT_EQ(textOfFailure([&] { TdfFile::createFile(file.c_str()); }), "TDF file extension must be .tdf.");
        EXPECT_FALSE(std::filesystem::exists(file)) << name;
    }
    TdfFile::createFile(folder.file("capitals.TDF").c_str());
    EXPECT_EQ(textOfFailure([&] { TdfFile::createFile(folder.file("none/x.tdf").c_str()); }),
              "Could not create TDF file as specified.");
}

TEST_F(TdfSectionsTest, SectionsAreListedInTheirOrderWithOffsetsAndSizes) {
    makeThree();
    const auto sections = list();
    ASSERT_EQ(sections.size(), 3U);
    EXPECT_EQ(sections[0].name, "First");
    EXPECT_EQ(sections[0].version, 7U);
    EXPECT_EQ(sections[0].offset, 8U);
    EXPECT_EQ(sections[0].size, 25U);
    EXPECT_EQ(sections[0].dataOffset, 25U);
    EXPECT_EQ(sections[0].dataSize, 8U);
    EXPECT_EQ(sections[1].name, "BinTraceData");
    EXPECT_EQ(sections[1].version, 1U);
    EXPECT_EQ(sections[1].offset, 33U);
    EXPECT_EQ(sections[1].size, 40U);
    EXPECT_EQ(sections[2].offset, 73U);
    EXPECT_EQ(sections[2].dataSize, 8U);
}

TEST_F(TdfSectionsTest, AFileWithAnotherIdentifierIsReadFromItsFifthByte) {
    writeBytes(path, "TDF1");
    append(begin(), "abcdefgh");
    ASSERT_EQ(list().size(), 1U);
    EXPECT_EQ(list()[0].offset, 4U);
    EXPECT_EQ(load("BinTraceData"), "abcdefgh");
}

TEST_F(TdfSectionsTest, TheFirstSectionOfANameIsTheOneFound) {
    makeThree();
    TdfSection section;
    TdfFile::findSection(path.c_str(), "BinTraceData", &section);
    EXPECT_EQ(section.offset, 33U);
    std::uint32_t size = 0;
    TdfFile::findSectionSize(path.c_str(), "BinTraceData", &size);
    EXPECT_EQ(size, 40U);
    EXPECT_EQ(load("BinTraceData"), "ABCDEFGHIJKLMNOP");
}

TEST_F(TdfSectionsTest, ASectionOfAnEmptyNameIsFoundByANullOne) {
    makeThree();
    append(begin(""), "nameless");
    EXPECT_EQ(load(""), "nameless");
    EXPECT_EQ(load(nullptr), "nameless");
}

TEST_F(TdfSectionsTest, NoMoreIsLoadedThanTheBufferHolds) {
    makeThree();
    EXPECT_EQ(load("First", 3), "abc");
    EXPECT_EQ(load("First", 0), "");
}

TEST_F(TdfSectionsTest, PartsOfASectionTogetherAreItsData) {
    makeThree();
    const TdfSection section = list()[1];
    std::string data;
    for (std::uint32_t start = 0; start <= section.dataSize; start += 5) {
        char part[5];
        std::uint32_t loaded = 77;
        TdfFile::loadSectionPart(path.c_str(), section, start, part, sizeof part, &loaded);
        data.append(part, loaded);
    }
    EXPECT_EQ(data, "ABCDEFGHIJKLMNOP");
    char byte = 0;
    for (const std::uint32_t start : {16U, 17U, 0xFFFFFFFFU}) {
        std::uint32_t loaded = 77;
        TdfFile::loadSectionPart(path.c_str(), section, start, &byte, 1, &loaded);
        EXPECT_EQ(loaded, 0U) << start;
    }
}

TEST_F(TdfSectionsTest, AMissingSectionIsReportedByItsName) {
    makeThree();
    TdfSection section;
    std::uint32_t number = 77;
    char byte = 0;
    EXPECT_EQ(textOfFailure([&] { TdfFile::findSection(path.c_str(), "Fir", &section); }),
              "Fir section cannot be located in the file.");
    EXPECT_EQ(textOfFailure([&] { TdfFile::loadSection(path.c_str(), "first", &byte, 1, &number); }),
              "first section cannot be located in the file.");
    EXPECT_EQ(number, 0U);
    EXPECT_EQ(textOfFailure([&] { TdfFile::findSectionSize(path.c_str(), "None", &number); }),
              "Section size cannot be located in the file.");
}

TEST_F(TdfSectionsTest, ABadNameOrBufferIsReported) {
    const std::string wrong = folder.file("trace.bin");
    writeBytes(wrong, identifier);
    TdfFile::createFile(path.c_str());
    std::vector<TdfSection> sections;
    TdfSection section;
    std::uint32_t number = 77;
    char byte = 0;
    const std::string missing = folder.file("missing.tdf");
    for (const char* name : {static_cast<const char*>(nullptr), "", missing.c_str()}) {
        const std::string text = "File name passed to load is not valid.";
        EXPECT_EQ(textOfFailure([&] { TdfFile::listSections(name, &sections); }), text);
        EXPECT_EQ(textOfFailure([&] { TdfFile::findSection(name, "N", &section); }), text);
        EXPECT_EQ(textOfFailure([&] { TdfFile::loadSection(name, "N", &byte, 1, &number); }), text);
        EXPECT_EQ(textOfFailure([&] { TdfFile::loadSectionPart(name, section, 0, &byte, 1, &number); }), text);
        EXPECT_EQ(textOfFailure([&] { TdfFile::findSectionSize(name, "N", &number); }),
                  "File name passed to load file is not valid.");
    }
    const std::string extension = "TDF file extension must be .tdf.";
    EXPECT_EQ(textOfFailure([&] { TdfFile::listSections(wrong.c_str(), &sections); }), extension);
    EXPECT_EQ(textOfFailure([&] { TdfFile::findSection(wrong.c_str(), "N", &section); }), extension);
    EXPECT_EQ(textOfFailure([&] { TdfFile::loadSection(wrong.c_str(), "N", &byte, 1, &number); }), extension);
    EXPECT_EQ(textOfFailure([&] { TdfFile::loadSectionPart(wrong.c_str(), section, 0, &byte, 1, &number); }),
              extension);
    EXPECT_EQ(textOfFailure([&] { TdfFile::findSectionSize(wrong.c_str(), "N", &number); }),
              "Section size cannot be located in the file.");
    const std::string noBuffer = "No buffer allocated to load section data.";
    EXPECT_EQ(textOfFailure([&] { TdfFile::loadSection(path.c_str(), "N", nullptr, 1, &number); }), noBuffer);
    EXPECT_EQ(textOfFailure([&] { TdfFile::loadSectionPart(path.c_str(), section, 0, nullptr, 1, &number); }),
              noBuffer);
}

TEST_F(TdfSectionsTest, AViolationOfTheFormatIsReported) {
    const std::string bad[] = {
        "",
        "TDF",
        identifier + "\x0b\0\0\0\x01\0\0\0\0\0\0\0"s,             // a size below a header's
        identifier + "\0\0\0\0\x01\0\0\0\0\0\0\0"s,               // a section without a size
        identifier + "\x0d\0\0\0\x01\0\0\0\0\0\0\0"s,             // a size beyond the file
        identifier + "\x0d\0\0\0\x01\0\0\0\x02\0\0\0ab"s,         // a name beyond the section
        identifier + "\x0d\0\0\0\x01\0\0\0\xff\xff\xff\xff\x61"s, // a name beyond everything
        identifier + "\xff\xff\xff\xff\x01\0\0\0\0\0\0\0"s,       // a size that would wrap
        identifier + "\x0c\0\0\0\x01\0\0\0\0\0\0"s,               // a header that is cut
    };
    for (const std::string& bytes : bad) {
        writeBytes(path, bytes);
        EXPECT_EQ(textOfFailure([&] { list(); }), "Invalid TDF format.") << bytes.size();
    }
}

TEST_F(TdfSectionsTest, SectionsBeforeDamageAreListed) {
    makeThree();
    writeBytes(path, readBytes(path) + "half a chunk of a save that was cut off");
    std::vector<TdfSection> sections;
    EXPECT_EQ(textOfFailure([&] { TdfFile::listSections(path.c_str(), &sections); }), "Invalid TDF format.");
    EXPECT_EQ(sections.size(), 3U);
    EXPECT_EQ(load("BinTraceData"), "ABCDEFGHIJKLMNOP");
    TdfSection section;
    EXPECT_EQ(textOfFailure([&] { TdfFile::findSection(path.c_str(), "Behind", &section); }), "Invalid TDF format.");
}

TEST_F(TdfSectionsTest, ASectionOfAnotherFileDoesNotReadBeyondThisOne) {
    TdfFile::createFile(path.c_str());
    TdfSection section;
    section.dataOffset = 4;
    section.dataSize = 1000;
    char bytes[100];
    std::uint32_t loaded = 77;
    EXPECT_EQ(textOfFailure([&] { TdfFile::loadSectionPart(path.c_str(), section, 0, bytes, 100, &loaded); }),
              "Read I/O error - section data corrupted.");
    EXPECT_EQ(loaded, 0U);
}

TEST_F(TdfSectionsTest, AFolderIsNoTraceDataFile) {
    const std::string place = folder.file("folder.tdf");
    std::filesystem::create_directory(place);
    std::vector<TdfSection> sections;
    const std::string text = textOfFailure([&] { TdfFile::listSections(place.c_str(), &sections); });
    // A folder can be opened for reading on one system only.
    EXPECT_TRUE(text == "Invalid TDF format." || text == "File name passed to load is not valid.") << text;
}

// For any content of a file: sections inside the file, or the one text.
TEST_F(TdfSectionsTest, FilesOfAnyBytesAreReadOrRefused) {
    std::mt19937 random(20240817);
    const auto below = [&](std::uint32_t limit) {
        return std::uniform_int_distribution<std::uint32_t>(0, limit - 1)(random);
    };
    int sound = 0;
    int refused = 0;
    for (int round = 0; round < 1000; ++round) {
        std::string bytes = below(4) != 0 ? identifier : "TDF1"s;
        for (std::uint32_t count = below(4); count != 0; --count) {
            const std::uint32_t nameSize = below(5);
            const std::uint32_t dataSize = below(20);
            for (const std::uint32_t word : {12 + nameSize + dataSize, below(3), nameSize}) {
                for (unsigned shift = 0; shift < 32; shift += 8) {
                    bytes += static_cast<char>(word >> shift & 0xFFU);
                }
            }
            for (std::uint32_t i = 0; i < nameSize + dataSize; ++i) {
                bytes += static_cast<char>(below(256));
            }
        }
        for (std::uint32_t damage = below(3); damage != 0; --damage) {
            bytes[below(static_cast<std::uint32_t>(bytes.size()))] =
                static_cast<char>(below(2) != 0 ? below(256) : 255);
        }
        if (below(4) == 0) {
            bytes.resize(below(static_cast<std::uint32_t>(bytes.size()) + 1));
        }
        writeBytes(path, bytes);
        std::vector<TdfSection> sections;
        const std::string text = textOfFailure([&] { TdfFile::listSections(path.c_str(), &sections); });
        ++(text == "no failure" ? sound : refused);
        ASSERT_TRUE(text == "no failure" || text == "Invalid TDF format.") << text;
        for (const TdfSection& section : sections) {
            ASSERT_LE(std::uint64_t{section.offset} + section.size, bytes.size());
            ASSERT_EQ(section.dataOffset + section.dataSize, section.offset + section.size);
            std::string data(section.dataSize + 1, '?');
            std::uint32_t loaded = 0;
            TdfFile::loadSectionPart(path.c_str(), section, 0, data.data(), section.dataSize + 1, &loaded);
            data.resize(loaded);
            ASSERT_EQ(data, bytes.substr(section.dataOffset, section.dataSize));
        }
    }
    EXPECT_GT(sound, 150);
    EXPECT_GT(refused, 150);
}

} // namespace
