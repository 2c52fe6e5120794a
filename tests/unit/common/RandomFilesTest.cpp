// Random files from a fixed seed. ORV_RANDOM_FILES sets the number of each kind.
#include "common/source/Exception.h"
#include "common/source/source_utilities/PropertyParser.h"
#include "common/source/source_utilities/uConfig.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <span>

namespace VX_QRS {
namespace {

using ORV::CLIENT::PropertyParser_1;

class RandomFiles : public testing::Test {
protected:
    static int count() {
        const char* wanted = std::getenv("ORV_RANDOM_FILES");
        return wanted != nullptr ? std::atoi(wanted) : 1500;
    }

    std::size_t below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random); }

    char anyByte() { return static_cast<char>(below(256)); }

    // Mostly bytes with a meaning in the syntaxes. The byte that ends a text file on some systems has its own test.
    char likelyByte() {
        using namespace std::string_view_literals;
        constexpr std::string_view likely = "[]==#$<<>>/\r\n\n\n  \t\0\xFF"
                                            "aabbc1"sv;
        if (below(20) == 0) {
            const char byte = anyByte();
            return byte == '\x1A' ? 'z' : byte;
        }
        return likely[below(likely.size())];
    }

    std::string likelyText() {
        std::string text(below(400), '\0');
        std::generate(text.begin(), text.end(), [&] { return likelyByte(); });
        if (below(30) == 0) {
            text.insert(below(text.size() + 1), std::string(900 + below(2500), "x= \t"[below(4)]));
        }
        return text;
    }

    std::string file(const std::string& bytes) { return folder.write("file", bytes); }

    test_support::TemporaryFolder folder;
    std::mt19937_64 random{20240229};
};

// A second implementation of the syntax, character by character.
std::vector<std::string> expectedLines(const std::string& text) {
    std::vector<std::string> lines;
    std::string line;
    const auto finish = [&] {
        std::string kept = line.c_str(); // up to a zero byte
        while (!kept.empty() && (kept.back() == ' ' || kept.back() == '\t')) {
            kept.pop_back();
        }
        if (!kept.empty() && line.front() != '#') {
            lines.push_back(kept);
        }
        line.clear();
    };
    for (const char c : text) {
        if (c == '\r' || c == '\n') {
            finish();
        } else {
            line += c;
            if (line.size() == 1023) {
                finish();
            }
        }
    }
    finish();
    return lines;
}

std::vector<std::string> linesOf(PropertyParser_1& parser) {
    std::vector<std::string> lines;
    parser.setSection(nullptr);
    std::uint32_t count = 0;
    try {
        count = parser.countLines();
    } catch (const ORV::CLIENT::Exception&) {
        return lines; // an empty file
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        const char* key = nullptr;
        const char* value = nullptr;
        parser.getLine(i, &key, &value);
        lines.emplace_back(key);
        lines.emplace_back(value);
    }
    return lines;
}

TEST_F(RandomFiles, PropertyParserKeepsEveryLineInOrderAndWithinTheLimit) {
    for (int i = 0; i < count(); ++i) {
        const std::string text = likelyText();
        PropertyParser_1 parser;
        parser.readFile(file(text).c_str());
        std::vector<std::string> expected;
        for (const std::string& line : expectedLines(text)) {
            ASSERT_LE(line.size(), 1023U);
            const std::size_t at = std::min(line.find('='), line.size());
            expected.push_back(line.substr(0, at));
            expected.push_back(at < line.size() ? line.substr(at + 1) : "");
        }
        ASSERT_EQ(linesOf(parser), expected) << "file " << i;
    }
}

// Sections of equal names merge, and an unnamed one can only be written before all others.
void dropWhatCannotBeWritten(uConfig& config, bool xml) {
    const auto& sections = config.getSections();
    if (!sections.empty() && !sections.front().name.empty()) {
        config.removeSection("");
    }
    if (xml) {
        for (const auto& section : std::vector<uConfig::Section>(sections)) {
            const auto unnamed = [](const uConfig::Variable& variable) { return variable.name.empty(); };
            if (std::any_of(section.variables.begin(), section.variables.end(), unnamed)) {
                config.removeSection(section.name.c_str());
            }
        }
    }
}

TEST_F(RandomFiles, WrittenConfigurationReadsBackEqual) {
    for (int i = 0; i < count(); ++i) {
        const bool xml = i % 2 == 0;
        std::string text = likelyText();
        // Zero bytes end the C strings of the interface.
        std::replace(text.begin(), text.end(), '\0', '0');
        // A name that begins like a declaration or a comment is ignored when it is read again.
        std::replace(text.begin(), text.end(), '?', 'q');
        std::replace(text.begin(), text.end(), '!', 'e');
        uConfig config(xml);
        config.setPath(file(text).c_str());
        config.read();
        dropWhatCannotBeWritten(config, xml);
        config.write();
        uConfig again(xml);
        again.setPath(folder.file("file").c_str());
        again.read();
        ASSERT_EQ(again.getSections(), config.getSections()) << "file " << i << (xml ? ", xml" : ", plain");
    }
}

TEST_F(RandomFiles, NamesOfAReadConfigurationAreUnique) {
    for (int i = 0; i < count() / 4; ++i) {
        uConfig config(i % 2 == 0);
        config.setPath(file(likelyText()).c_str());
        config.read();
        std::vector<std::string> names;
        for (const uConfig::Section& section : config.getSections()) {
            ASSERT_FALSE(section.variables.empty());
            names.push_back(section.name);
        }
        std::sort(names.begin(), names.end());
        ASSERT_EQ(std::adjacent_find(names.begin(), names.end()), names.end());
    }
}

TEST_F(RandomFiles, AnyBytesAreReadWithoutHarm) {
    for (int i = 0; i < count(); ++i) {
        std::string bytes(below(3000), '\0');
        std::generate(bytes.begin(), bytes.end(), [&] { return anyByte(); });
        const std::string path = file(bytes);
        PropertyParser_1 parser;
        parser.readFile(path.c_str());
        for (const std::string& text : linesOf(parser)) {
            ASSERT_LE(text.size(), 1023U);
        }
        uConfig config(i % 2 == 0);
        config.setPath(path.c_str());
        config.read();
    }
}

// Each of these takes minutes if the time is quadratic in the size.
TEST_F(RandomFiles, LargeFilesOfEveryShapeTakeLinearTime) {
    std::string manySections;
    std::string manyVariables;
    std::string returns;
    for (int i = 0; i < 100000; ++i) {
        const std::string number = std::to_string(i);
        manySections += "[" + number + "]\na=1\n<" + number + ">\n<b>1</b>\n";
        manyVariables += number + "=1\n<" + number + ">1</" + number + ">\n";
        returns += "a=1\r";
    }
    const std::string million(1000000, 'x');
    const std::vector<std::string> texts{manySections,
                                         manySections + manySections,
                                         manyVariables,
                                         returns,
                                         million,
                                         std::string(1000000, '='),
                                         std::string(1000000, '>'),
                                         std::string(1000000, '\0'),
                                         std::string(1000000, '\n'),
                                         million + "=1"};
    for (const std::string& text : texts) {
        const std::string path = file(text);
        PropertyParser_1 parser;
        parser.readFile(path.c_str());
        linesOf(parser);
        for (const bool xml : {false, true}) {
            uConfig config(xml);
            config.setPath(path.c_str());
            config.read();
        }
    }
    PropertyParser_1 parser;
    parser.readFile(file(million).c_str());
    parser.setSection(nullptr);
    EXPECT_EQ(parser.countLines(), (1000000U + 1022U) / 1023U);
}

} // namespace
} // namespace VX_QRS
