#include "bench/server/TruthFile.h"
#include "bench/siblings/DeviceDatabase.h"
#include "client/Pattern.h"
#include "client/frontend/Registers.h"
#include "client/patterns/PatternVerifier.h"
#include "common/source/properties/AddedProperties.h"
#include "common/source/properties/ChannelProperties.h"
#include "common/source/source_utilities/uLog.h"
#include "diagnosis/files/BurstFile.h"
#include "diagnosis/files/CalFile.h"
#include "pinmap/TracePinMapper.h"
#include "rcvr/PropertiesText.h"
#include "rcvr/SettingsFile.h"
#include "tdf/TdfFile.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/tree/Examples.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <regex>
#include <set>
#include <sstream>

// The examples of the pages on formats, against the code that writes and reads these formats.

namespace tree {

using test_support::readText;
using test_support::TemporaryFolder;
using test_support::writeText;
using testing::ElementsAre;

namespace {

std::string page(const std::string& name) {
    return readText(std::string(ORV_SOURCE_ROOT) + "/docs/formats/" + name + ".md");
}

std::string example(const std::string& name) {
    const std::string block = exampleOf(page(name), name);
    EXPECT_NE(block, "") << name;
    return block;
}

std::vector<std::uint16_t> wordsOf(const std::string& text) {
    std::vector<std::uint16_t> words;
    std::istringstream in(text);
    for (std::string word; in >> word;) {
        words.push_back(static_cast<std::uint16_t>(std::stoul(word, nullptr, 16)));
    }
    return words;
}

VX_QRS::ORV::CLIENT::ChannelSettings settingsOf(const std::string& text) {
    const TemporaryFolder folder;
    const std::string file = folder.file("example.xml");
    writeText(file, text);
    VX_QRS::ORV::CLIENT::ChannelSettings settings;
    Vx::Qrs::Trace::OrvRcvr::LoadSettings(settings, file.c_str(), "");
    EXPECT_EQ(readText(file), text) << "the file was replaced";
    return settings;
}

} // namespace

TEST(FormatPages, SettingsAreWrittenAsTheyStandThere) {
    const std::string text = exampleOf(page("channel-settings"), "settings");
    const auto settings = settingsOf(text);
    EXPECT_EQ(settings.pinMap, "0,1,2,3,4");
    const TemporaryFolder folder;
    Vx::Qrs::Trace::OrvRcvr::StoreSettings(settings, folder.file("new.xml").c_str(), "");
    EXPECT_EQ(readText(folder.file("new.xml")), text);
}

TEST(FormatPages, SettingsHaveTheDefaults) {
    const TemporaryFolder folder;
    const std::string file = folder.file("new.xml");
    VX_QRS::ORV::CLIENT::ChannelSettings settings;
    Vx::Qrs::Trace::OrvRcvr::LoadSettings(settings, file.c_str(), "");
    const std::string written = readText(file);
    std::size_t count = 0;
    for (const auto& row : tableOf(page("channel-settings"))) {
        const std::string key = row.at(0).substr(1, row.at(0).size() - 2);
        std::string value = row.at(2);
        if (value.empty()) {
            continue;
        }
        value.erase(std::remove(value.begin(), value.end(), '`'), value.end());
        const std::string element = "<" + key + ">" + (value == "empty" ? "" : value) + "</" + key + ">";
        EXPECT_NE(written.find(element), std::string::npos) << element;
        ++count;
    }
    EXPECT_EQ(count, 12U);
}

TEST(FormatPages, PropertiesFollowFromTheSettings) {
    const auto settings = settingsOf(exampleOf(page("channel-settings"), "settings"));
    EXPECT_EQ(Vx::Qrs::Trace::OrvRcvr::globalSectionText("bench", 0) +
                  Vx::Qrs::Trace::OrvRcvr::channelSectionText(0, settings),
              example("properties"));
}

TEST(FormatPages, AddedPropertiesAreRead) {
    using VX_QRS::ORV::CLIENT::AddedProperty;
    const TemporaryFolder folder;
    writeText(folder.file("added.txt"), exampleOf(page("properties"), "added-properties"));
    EXPECT_THAT(VX_QRS::ORV::CLIENT::readAddedProperties(folder.file("added.txt")),
                ElementsAre(AddedProperty{"frequencyLimit", "60e6"}, AddedProperty{"ovsMargin", "1"}));
}

TEST(FormatPages, PropertiesAreTheChannels) {
    std::set<std::string> known;
    for (const auto& property : VX_QRS::ORV::CLIENT::channelProperties) {
        known.insert(property.name);
    }
    EXPECT_GT(known.size(), 30U);
    std::set<std::string> explained;
    const std::vector<Section> sections = sectionsOf(page("properties"), "##");
    ASSERT_EQ(sections.size(), 2U);
    const std::regex name("`(\\w+)`");
    for (const auto& row : tableOf(sections[0].text)) {
        for (auto match = std::sregex_iterator(row[0].begin(), row[0].end(), name); match != std::sregex_iterator();
             ++match) {
            explained.insert((*match)[1]);
        }
    }
    EXPECT_EQ(explained, known);
}

TEST(FormatPages, PropertiesHaveTheChannelsDefaults) {
    const std::string source = readText(std::string(ORV_SOURCE_ROOT) + "/client/frontend/FrontEndChannel_1.h");
    const std::size_t begin = source.find("struct Settings {");
    ASSERT_NE(begin, std::string::npos);
    const std::string settings = source.substr(begin, source.find("};", begin) - begin);
    const std::regex member("(\\w+) = \"?([^;\"]*)\"?;");
    std::map<std::string, std::string> defaults;
    for (auto match = std::sregex_iterator(settings.begin(), settings.end(), member); match != std::sregex_iterator();
         ++match) {
        defaults[(*match)[1]] = (*match)[2];
    }
    const std::map<std::string, std::string> told{{"0x400000", "4194304"}, {"0.0", "0"}, {"notSet", "from the clock"}};
    std::size_t count = 0;
    for (const auto& row : tableOf(sectionsOf(page("properties"), "##").at(0).text)) {
        std::string name = row[0].substr(1, row[0].find('`', 1) - 1);
        std::string value = row.at(2);
        value.erase(std::remove(value.begin(), value.end(), '`'), value.end());
        if (name == "deskewStrategy") {
            value = value == "data" ? "1" : value;
        }
        if (name == "verifyCal") {
            name = "verifyCalEnabled";
        }
        const auto known = defaults.find(name);
        if (known == defaults.end() || value.empty()) {
            continue;
        }
        const auto words = told.find(known->second);
        EXPECT_EQ(value, words == told.end() ? known->second : words->second) << name;
        ++count;
    }
    EXPECT_GT(count, 18U);
}

TEST(FormatPages, PinMapHasTheAssignments) {
    const TemporaryFolder folder;
    writeText(folder.file("pins.cfg"), example("pin-map"));
    Vx::Qrs::Trace::OrvRcvr::TracePinMapper mapper;
    mapper.readPinMapFile(folder.file("pins.cfg").c_str());
    ASSERT_EQ(mapper.getPinouts().size(), 2U);
    EXPECT_EQ(mapper.getPinouts().at("connector").at("pti").size(), 3U);
    EXPECT_EQ(mapper.getPinouts().at("spare").at("pti").back(), (Vx::Qrs::Trace::OrvRcvr::PinList{5, 2, 3}));
}

TEST(FormatPages, BurstIsRead) {
    const diagnosis::Burst burst = diagnosis::parseBurst(example("burst"), "example");
    ASSERT_EQ(burst.pins.size(), 5U);
    EXPECT_EQ(burst.pins[0].delay, 31);
    EXPECT_THAT(burst.pins[2].levels, ElementsAre(1, 0, 0));
}

TEST(FormatPages, CalibrationReportIsRead) {
    const diagnosis::CalFile report = diagnosis::parseCalFile(example("calibration-report"), "example");
    ASSERT_EQ(report.pins.size(), 5U);
    EXPECT_EQ(report.exportKind, "pti");
    EXPECT_EQ(report.pins[4].holdMargin, 7U);
    EXPECT_EQ(report.pins[4].setupMargin, 5U);
    EXPECT_EQ(report.pins[0].stretch, -1);
}

TEST(FormatPages, PacketPasses) {
    using namespace VX_QRS::ORV::CLIENT;
    std::array<std::uint16_t, packetWords> words{};
    constexpr std::array<std::uint16_t, 4> ramp{0x0123, 0x4567, 0x89AB, 0xCDEF};
    for (std::size_t i = 7; i < words.size() - 1; ++i) {
        words[i] = ramp[(i - 7) % ramp.size()];
    }
    for (const HexLine& line : hexLinesOf(exampleOf(page("recording"), "packet"))) {
        const std::size_t offset = std::stoul(line.head, nullptr, 16);
        for (std::size_t i = 0; i < line.bytes.size(); i += 2) {
            const auto low = static_cast<std::uint8_t>(line.bytes[i]);
            const auto high = static_cast<std::uint8_t>(line.bytes[i + 1]);
            std::uint16_t& word = words.at((offset + i) / 2);
            if (offset + i >= 0x0E) {
                EXPECT_TRUE(word == 0 || word == (high << 8 | low)) << offset + i;
            }
            word = static_cast<std::uint16_t>(high << 8 | low);
        }
    }
    const std::unique_ptr<Pattern> pattern(createPattern("ramp0", 4));
    PatternVerifier verifier(*pattern, FrameFormat::TenBitPackets);
    verifier.checkPacket(0, words);
    EXPECT_FALSE(verifier.failed()) << verifier.report();
    EXPECT_EQ(verifier.counts().tracePackets, 1U);
    EXPECT_EQ(verifier.counts().syncWords, 7U);
    EXPECT_EQ(verifier.counts().dataWords, 248U);
}

TEST(FormatPages, PatternsAreTheVerifiers) {
    const std::string document = page("recording");
    const auto rows = tableOf(document.substr(document.find("<!-- test: patterns -->")));
    EXPECT_EQ(rows.size(), 6U);
    for (const auto& row : rows) {
        for (const std::uint32_t column : {1U, 2U, 3U}) {
            const std::vector<std::uint16_t> words = wordsOf(row.at(column));
            const std::unique_ptr<VX_QRS::ORV::CLIENT::Pattern> pattern(
                VX_QRS::ORV::CLIENT::createPattern(row[0].c_str(), column == 3 ? 4 : column));
            bool synced = false;
            std::uint16_t last = words.back();
            EXPECT_FALSE(pattern->check(0, last, synced));
            for (std::size_t i = 0; i < 2 * words.size(); ++i) {
                EXPECT_FALSE(pattern->check(last, words[i % words.size()], synced)) << row[0] << " " << i;
                last = words[i % words.size()];
            }
            EXPECT_TRUE(pattern->check(last, static_cast<std::uint16_t>(words[0] ^ 1), synced)) << row[0];
        }
    }
}

TEST(FormatPages, TraceDataFileHasTheBytes) {
    using Vx::Qrs::Trace::OrvRcvr::TdfFile;
    const TemporaryFolder folder;
    const std::string file = folder.file("example.tdf");
    TdfFile::createFile(file.c_str());
    std::uint32_t offset = 0;
    TdfFile::beginSection(file.c_str(), "BinTraceData", 1, &offset);
    const std::array<std::uint8_t, 16> samples{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xF0, 0x0F, 0x1E, 0x2D, 0xF0, 0xA5};
    std::uint32_t size = 0;
    TdfFile::appendSectionData(file.c_str(), "BinTraceData", offset, samples.data(), 8, 2, &size);
    std::string expected;
    for (const HexLine& line : hexLinesOf(exampleOf(page("trace-data-file"), "tdf"))) {
        EXPECT_EQ(std::stoul(line.head, nullptr, 16), expected.size());
        expected += line.bytes;
    }
    EXPECT_EQ(readText(file), expected);
}

TEST(FormatPages, DevicesAreRead) {
    const TemporaryFolder folder;
    writeText(folder.file("devices.toml"), exampleOf(page("bench-files"), "devices"));
    const bench::DeviceDatabase base = bench::DeviceDatabase::load(folder.file("devices.toml"));
    ASSERT_NE(base.find("bench/app"), nullptr);
    EXPECT_EQ(base.find("bench/app")->unitPort, "\"0\"");
    EXPECT_EQ(base.find("bench/app")->entries.size(), 1U);
}

TEST(FormatPages, LogHasTheColumns) {
    using VX_QRS::uLogger;
    const std::regex form("[M ][W ][F ][A ][E ] (\\d\\d:\\d\\d:\\d\\d:\\d{3} \\| | )\\S.*");
    const auto expectForm = [&](const std::string& text) {
        std::istringstream in(text);
        std::size_t count = 0;
        for (std::string line; std::getline(in, line); ++count) {
            EXPECT_TRUE(std::regex_match(line, form)) << line;
        }
        EXPECT_GT(count, 2U);
    };
    expectForm(example("log"));
    const TemporaryFolder folder;
    uLogger logger(folder.file("log.txt").c_str(), false);
    logger.log(uLogger::messageClass, uLogger::timeOnly, "%s", "message");
    logger.log(uLogger::errorClass, uLogger::timeOnly, "%s", "error");
    logger.log(uLogger::functionClass, uLogger::noTime, "%s", "entry");
    logger.setEnabled(false);
    const std::string written = readText(folder.file("log.txt"));
    expectForm(written);
    EXPECT_TRUE(written.starts_with("M     ")) << written;
    EXPECT_NE(written.find("\n    E "), std::string::npos) << written;
    EXPECT_NE(written.find("\n  F    entry"), std::string::npos) << written;
}

TEST(FormatPages, TruthHasTheKeys) {
    const auto keysOf = [](const std::string& text) {
        static const std::regex key("\"(\\w+)\":");
        std::vector<std::string> keys;
        for (auto match = std::sregex_iterator(text.begin(), text.end(), key); match != std::sregex_iterator();
             ++match) {
            keys.push_back((*match)[1]);
        }
        return keys;
    };
    bench::RecordingTruth truth;
    truth.pins.resize(1);
    EXPECT_EQ(keysOf(exampleOf(page("bench-files"), "truth")), keysOf(bench::truthLine(truth)));
    bench::ContentsTruth contents;
    contents.runs.resize(1);
    EXPECT_EQ(keysOf(exampleOf(page("bench-files"), "contents")), keysOf(bench::contentsLine(contents)));
}

TEST(FormatPages, RegistersHaveTheAddresses) {
    using namespace VX_QRS::ORV::CLIENT::registers;
    const std::string text = page("registers");
    for (const std::uint32_t wanted : {unitId0,
                                       unitId1,
                                       unitId2,
                                       unitId3,
                                       address(dump30, 0),
                                       address(stmTimeout, 0),
                                       address(stmControl, 0),
                                       address(procInput, 0, 0),
                                       address(procInput, 0, 1),
                                       address(procInput, 0, 7),
                                       address(procConditioning, 0, 0),
                                       address(procConditioning, 0, 1),
                                       address(procConditioning, 0, 7),
                                       dump140,
                                       dump140 + 2 * 9,
                                       dump158,
                                       dump158 + 2 * 3,
                                       bufferBlock0,
                                       bufferBlock0 + 2 * 4,
                                       bufferBlockC,
                                       bufferBlock10,
                                       bufferBlock14,
                                       bufferBlock80,
                                       bufferBlock84 + 2 * 2}) {
        std::array<char, 16> digits{};
        std::snprintf(digits.data(), digits.size(), "%08x", wanted);
        EXPECT_NE(text.find(digits.data()), std::string::npos) << digits.data();
    }
}

} // namespace tree
