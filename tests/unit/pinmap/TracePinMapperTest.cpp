#include "TestSupport.h"
#include "pinmap/PinAssignment.h"
#include "pinmap/TracePinMapper.h"
#include "rcvr/framework/cZarnError.h"

#include <functional>
#include <random>

namespace {

using namespace Vx::Qrs::Trace::OrvRcvr;
using namespace rcvr_test;
using testing::ElementsAre;
using testing::IsEmpty;

std::string textOfFailure(const std::function<void()>& step) {
    try {
        step();
    } catch (const Vx::Qrs::Zarn::cZarnError& error) {
        EXPECT_EQ(error.GetSeverity(), Vx::Qrs::Zarn::eSeverityError);
        return error.GetErrorText();
    }
    return "no failure";
}

std::string textOf(const Pinouts& pinouts) {
    std::string text;
    for (const auto& [name, pinout] : pinouts) {
        text += name + ":";
        for (const auto& [kind, lists] : pinout) {
            for (const PinList& list : lists) {
                text += kind + "=" + formatPinList(list) + ";";
            }
        }
        text += " ";
    }
    return text;
}

class DeviceDatabase : public testing::Test {
protected:
    explicit DeviceDatabase(const std::vector<std::string>& folders = {"part"}) : siblings(folders) {}

    void device(const std::string& lines) { writeBytes(folder.file("device.txt"), "device chip\n" + lines); }
    std::vector<std::string> calls() const { return readLines(folder.file("trace.txt")); }

    TemporaryFolder folder;
    Siblings siblings;
    ScopedVariable deviceFile{"FAKE_DEVICE", folder.file("device.txt")};
    ScopedVariable traceFile{"FAKE_TRACE", folder.file("trace.txt")};
};

TEST_F(DeviceDatabase, GivesThePinoutsOfTheTracePartAndItsOwners) {
    device(
        "entry\nparent STM\ntrace port\npinout fast=tpiu=16,0,1,2,3;tpiu=16,4,5;pti=7,8,9\npinout slow=pti=0x10,010\n");
    {
        TracePinMapper mapper;
        mapper.readDeviceDatabase("chip");
        EXPECT_EQ(textOf(mapper.getPinouts()), "fast:pti=7,8,9;tpiu=16,0,1,2,3;tpiu=16,4,5; slow:pti=16,8; ");
        EXPECT_EQ(mapper.getOwnerName("tpiu"), "STM");
    }
    EXPECT_THAT(calls(), ElementsAre("CreatePartIdentifier", "getDeviceText chip 0", "getDeviceEntries chip",
                                     "DestroyPartIdentifier 0"));
}

TEST_F(DeviceDatabase, WithoutAParentTheTracePartIsTheOwner) {
    device("entry\ntrace ETM\npinout p=pti=1,2\n");
    TracePinMapper mapper;
    mapper.readDeviceDatabase("chip");
    EXPECT_EQ(mapper.getOwnerName("pti"), "ETM");
}

TEST_F(DeviceDatabase, OnlyTheFirstEntryThatYieldsPinsIsRead) {
    device("entry\nparent P\nentry\ntrace A\npinout none=rubbish\nentry\ntrace B\npinout b=pti=1,2\n"
           "entry\ntrace C\npinout c=pti=3,4\n");
    TracePinMapper mapper;
    mapper.readDeviceDatabase("chip");
    EXPECT_EQ(textOf(mapper.getPinouts()), "b:pti=1,2; ");
}

TEST_F(DeviceDatabase, AKindWithAnEmptyListGivesNoPinoutButAnOwner) {
    device("entry\ntrace ETM\npinout a=tpiu=\npinout b=pti=1,2;\n");
    TracePinMapper mapper;
    mapper.readDeviceDatabase("chip");
    EXPECT_EQ(textOf(mapper.getPinouts()), "b:pti=1,2; ");
    EXPECT_EQ(mapper.getOwnerName("tpiu"), "ETM");
}

TEST_F(DeviceDatabase, ADeviceWithoutPinsIsNotSupported) {
    device("entry\nparent P\nentry\ntrace A\npinout a=pti=\n");
    TracePinMapper mapper;
    const std::string text = "This device is not supported by the receiver.";
    EXPECT_EQ(textOfFailure([&] { mapper.readDeviceDatabase("chip"); }), text);
    EXPECT_EQ(textOfFailure([&] { mapper.readDeviceDatabase("another"); }), text);
    EXPECT_EQ(textOfFailure([&] { mapper.readDeviceDatabase(""); }), text);
    EXPECT_EQ(textOfFailure([&] { mapper.readDeviceDatabase(nullptr); }), text);
    EXPECT_EQ(textOfFailure([&] { mapper.readDeviceDatabase(std::string(100000, 'x').c_str()); }), text);
}

TEST_F(DeviceDatabase, AFailureWhileReadingNamesTheDevice) {
    const std::string text = "Invalid or corrupted trace device database for chip";
    device("entry\ntrace A\ncorrupt\n");
    {
        TracePinMapper mapper;
        EXPECT_EQ(textOfFailure([&] { mapper.readDeviceDatabase("chip"); }), text);
    }
    device("entry\ntrace A\npinout a=pti=1,2;pti=3,,4\n");
    TracePinMapper mapper;
    EXPECT_EQ(textOfFailure([&] { mapper.readDeviceDatabase("chip"); }), text);
    EXPECT_EQ(textOf(mapper.getPinouts()), "a:pti=1,2; "); // what was read before stays
}

TEST_F(DeviceDatabase, ReadingAgainForgetsPinoutsAndKeepsOwners) {
    device("entry\ntrace A\npinout a=pti=1,2\n");
    TracePinMapper mapper;
    mapper.readDeviceDatabase("chip");
    EXPECT_THROW(mapper.readDeviceDatabase("other"), Vx::Qrs::Zarn::cZarnError);
    EXPECT_EQ(textOf(mapper.getPinouts()), "");
    EXPECT_EQ(mapper.getOwnerName("pti"), "A");
    EXPECT_THAT(calls(), testing::Contains("CreatePartIdentifier").Times(1)) << "one object serves all readings";
}

TEST_F(DeviceDatabase, AnUnknownKindHasAnEmptyOwnerAndIsEntered) {
    TracePinMapper mapper;
    const std::string& owner = mapper.getOwnerName("nothing");
    EXPECT_EQ(owner, "");
    EXPECT_EQ(&mapper.getOwnerName("nothing"), &owner);
}

TEST_F(DeviceDatabase, WhatTheLibraryThrowsOutlivesIt) {
    device("entry\ntrace A\npinout a=pti=1,2\n");
    const auto failureWith = [&](const char* variable, const char* wish) {
        const ScopedVariable behaviour(variable, wish);
        try {
            TracePinMapper mapper;
            mapper.readDeviceDatabase("chip");
        } catch (const Vx::Qrs::Zarn::cZarnError& error) {
            return std::string(error.GetErrorText());
        } catch (const std::exception& exception) {
            return std::string(exception.what());
        }
        return std::string();
    };
    for (const char* variable : {"FAKE_PART", "FAKE_ENTRIES", "FAKE_TEXT"}) {
        EXPECT_EQ(failureWith(variable, "std"), "thrown by the sibling");
        EXPECT_EQ(failureWith(variable, "zarn"), "sibling's own error");
        EXPECT_EQ(failureWith(variable, "int"), "unknown exception");
    }
    EXPECT_EQ(failureWith("FAKE_PART", "null"), "This device is not supported by the receiver.");
    EXPECT_EQ(failureWith("FAKE_PART_DESTROY", "int"), ""); // a destructor cannot report it
}

struct DatabaseWithoutCreate : DeviceDatabase {
    DatabaseWithoutCreate() : DeviceDatabase({"part-nocreate"}) {}
};

TEST_F(DatabaseWithoutCreate, TheDeviceIsNotSupported) {
    device("entry\ntrace A\npinout a=pti=1,2\n");
    TracePinMapper mapper;
    EXPECT_EQ(textOfFailure([&] { mapper.readDeviceDatabase("chip"); }),
              "This device is not supported by the receiver.");
}

struct NoDatabase : DeviceDatabase {
    NoDatabase() : DeviceDatabase({"nowhere"}) {}
};

TEST_F(NoDatabase, TheDeviceIsNotSupported) {
    TracePinMapper mapper;
    EXPECT_EQ(textOfFailure([&] { mapper.readDeviceDatabase("chip"); }),
              "This device is not supported by the receiver.");
}

class PinMapFile : public NoDatabase {
protected:
    std::string file(const std::string& text) {
        const std::string path = folder.file("pins.txt");
        writeBytes(path, text);
        return path;
    }
    TracePinMapper mapper;
};

TEST_F(PinMapFile, GivesThePinoutsOfAllSections) {
    mapper.readPinMapFile(
        file("# comment\nfirst = pti= 0x2,3 ;dsp= ;etm=6,7, ;tpiu=4,5\n[section]\nsecond=pti=0x5,6\nfirst=pti=1,2;\n")
            .c_str());
    EXPECT_EQ(textOf(mapper.getPinouts()), "first:etm=6,7;pti=2,3;pti=1,2;tpiu=4,5; second:pti=5,6; ");
    EXPECT_EQ(mapper.getOwnerName("pti"), "");
}

TEST_F(PinMapFile, AVariableThatRepeatsAddsItsListsToThePinout) {
    mapper.readPinMapFile(file("conn=pti=0,1\nconn=pti=0,1,2;tpiu=3,4\n[s]\nconn=pti=5,6\nconn=pti=7,8\n").c_str());
    EXPECT_EQ(textOf(mapper.getPinouts()), "conn:pti=0,1;pti=0,1,2;pti=5,6;pti=7,8;tpiu=3,4; ");
}

TEST_F(PinMapFile, ABadValueIsNotHiddenByALaterOne) {
    const std::string path = file("conn=pti=0,,1\nconn=pti=0,1\n");
    EXPECT_EQ(textOfFailure([&] { mapper.readPinMapFile(path.c_str()); }),
              "Invalid or corrupted pin map file " + path + ".");
}

TEST_F(PinMapFile, ASectionThatRepeatsReplacesTheEarlierOne) {
    mapper.readPinMapFile(file("[s]\nconn=pti=0,1\n[t]\nconn=pti=2,3\n[s]\nconn=pti=4,5\n").c_str());
    EXPECT_EQ(textOf(mapper.getPinouts()), "conn:pti=2,3;pti=4,5; ");
}

TEST_F(PinMapFile, AByte1AEndsNoFile) {
    mapper.readPinMapFile(file("# \x1A\r\nconn=pti=0,1\r\n").c_str());
    EXPECT_EQ(textOf(mapper.getPinouts()), "conn:pti=0,1; ");
}

TEST_F(PinMapFile, ReadAgainForgetsWhatWasThere) {
    mapper.readPinMapFile(file("first=pti=2,3\n").c_str());
    mapper.readPinMapFile(file("second=pti=4,5\n").c_str());
    EXPECT_EQ(textOf(mapper.getPinouts()), "second:pti=4,5; ");
    EXPECT_NE(textOfFailure([&] { mapper.readPinMapFile(file("").c_str()); }), "no failure");
    EXPECT_EQ(textOf(mapper.getPinouts()), "");
}

TEST_F(PinMapFile, WithoutPinsOrWithABadNumberIsCorrupted) {
    for (const char* text : {"", "a=b\n", "a=pti=\n", "a=pti=1,,2\n", "a=pti=1=2\n"}) {
        const std::string path = file(text);
        EXPECT_EQ(textOfFailure([&] { mapper.readPinMapFile(path.c_str()); }),
                  "Invalid or corrupted pin map file " + path + ".")
            << text;
    }
}

TEST_F(PinMapFile, ThatIsMissingIsCorrupted) {
    const std::string path = folder.file("missing.txt");
    EXPECT_EQ(textOfFailure([&] { mapper.readPinMapFile(path.c_str()); }),
              "Invalid or corrupted pin map file " + path + ".");
    EXPECT_EQ(textOfFailure([&] { mapper.readPinMapFile(nullptr); }), "Invalid or corrupted pin map file.");
}

TEST_F(PinMapFile, CountsOfDataPinsAscendAndUseAllowedPinsOnly) {
    mapper.readPinMapFile(file("p=pti=2,3;pti=2,3,4,5;pti=0,1,2,3,4,5\nq=pti=2,3,9\n").c_str());
    std::vector<std::uint32_t> counts{77};
    mapper.getDataPinCounts(counts, "pti", {0, 1, 2, 3, 4, 5});
    EXPECT_THAT(counts, ElementsAre(1, 3, 5));
    mapper.getDataPinCounts(counts, "pti", {2, 3});
    EXPECT_THAT(counts, ElementsAre(1));
    mapper.getDataPinCounts(counts, "tpiu", {2, 3});
    EXPECT_THAT(counts, IsEmpty());
    mapper.getDataPinCounts(counts, "pti", {});
    EXPECT_THAT(counts, IsEmpty());
}

TEST_F(PinMapFile, ServesASearch) {
    mapper.readPinMapFile(file("p=pti=2,3\n").c_str());
    PinGrants grants;
    std::string name;
    EXPECT_TRUE(mapper.findPinMap(grants, name, {{"c", {"pti", 1, true}}}, {}));
    EXPECT_EQ(name, "p");
    EXPECT_FALSE(mapper.findPinMap(grants, name, {{"c", {"pti", 1, true}}}, {2}));
}

TEST_F(PinMapFile, OfAnyBytesGivesPinsOrTheStatedError) {
    std::mt19937 random(61);
    using namespace std::string_literals;
    const std::string alphabet = "ptiu=;,,0123x \n\r\t[]#\0\xff"s;
    int good = 0;
    for (int round = 0; round < RCVR_TEST_RANDOM_FILES; ++round) {
        std::string text = random() % 2 != 0 ? "a=pti=1,2" : "";
        for (auto length = random() % 60; length != 0; --length) {
            text += alphabet[random() % alphabet.size()];
        }
        const std::string path = file(text);
        const std::string failure = textOfFailure([&] { mapper.readPinMapFile(path.c_str()); });
        if (failure == "no failure") {
            ++good;
            ASSERT_FALSE(mapper.getPinouts().empty());
        } else {
            ASSERT_EQ(failure, "Invalid or corrupted pin map file " + path + ".");
        }
    }
    EXPECT_GT(good, RCVR_TEST_RANDOM_FILES / 20);
}

} // namespace
