#include "common/source/Exception.h"
#include "common/source/Property.h"
#include "common/source/Status.h"
#include "common/source/source_utilities/PropertyParser.h"
#include "fuzz/Require.h"
#include "fuzz/Scratch.h"
#include "fuzz/Targets.h"
#include "fuzz/Text.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace fuzz {

namespace {

using namespace VX_QRS::ORV::CLIENT;
using Line = std::pair<std::string, std::string>;
using Lines = std::vector<Line>;

constexpr std::uint32_t mostSections = 4; // each is checked line by line

/// The status of the failure of a call; 0 without one.
template <class Call>
std::uint32_t statusOf(Call call) {
    try {
        call();
    } catch (const Exception& failure) {
        return failure.status();
    }
    return 0;
}

/// Keeps what it is given.
class Recorder : public Property {
public:
    void setProperty(const char* name, const char* value) override {
        lines.emplace_back(name, value);
        if (lines.size() % 2 == 0) {
            fail("fuzz", eNAME, name); // skipped
        }
    }
    void getProperty(const char*, const char**) override {}

    Lines lines;
};

/// All lines of the current section.
Lines linesOf(PropertyParser& parser) {
    Lines lines;
    std::uint32_t count = 0;
    if (statusOf([&] { count = parser.countLines(); }) == eSEQUENCE) {
        return lines;
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        const char* key = nullptr;
        const char* value = nullptr;
        parser.getLine(i, &key, &value);
        require(std::strchr(key, '=') == nullptr, "a key ends at the first =");
        lines.emplace_back(key, value);
    }
    const char* key = nullptr;
    require(statusOf([&] { parser.getLine(count, &key, nullptr); }) == eVALUE, "no line follows the last");
    return lines;
}

Lines wholeFile(PropertyParser& parser, const std::string& path) {
    parser.readFile(path.c_str());
    parser.setSection(nullptr);
    return linesOf(parser);
}

/// A line of at most as many characters as the one that was read.
std::string written(const Lines& lines) {
    std::string text;
    for (const auto& [key, value] : lines) {
        text += key;
        if (key.empty() || !value.empty() || key.back() == ' ' || key.back() == '\t') {
            text += "=" + value;
        }
        text += "\n";
    }
    return text;
}

/// The value with its variable's content, or nothing when there is no such variable.
const char* expanded(const std::string& value) {
    return value.starts_with('$') ? std::getenv(value.c_str() + 1) : value.c_str();
}

void checkSection(PropertyParser& parser) {
    const Lines lines = linesOf(parser);
    for (const Line& line : lines) {
        const std::string& key = line.first;
        const auto first =
            std::find_if(lines.begin(), lines.end(), [&](const Line& each) { return each.first == key; });
        const char* const expected = expanded(first->second);
        const char* found = nullptr;
        const std::uint32_t status = statusOf([&] { parser.getValue(key.c_str(), &found); });
        require(status == (expected != nullptr ? 0U : eVALUE), "only a missing variable has no value");
        require(expected == nullptr || std::string(found) == expected, "the first line of a key counts");
    }
    Recorder recorder;
    const std::uint32_t status = statusOf([&] { parser.apply(&recorder); });
    const auto undefined =
        std::find_if(lines.begin(), lines.end(), [](const Line& line) { return expanded(line.second) == nullptr; });
    require(status == (lines.empty() ? eSEQUENCE : undefined == lines.end() ? 0U : eVALUE), "apply fails as told");
    require(recorder.lines.size() == static_cast<std::size_t>(undefined - lines.begin()), "apply passes on all lines");
}

} // namespace

void propertyFile(Input input) {
    PropertyParser_1 parser;
    const Lines lines = wholeFile(parser, scratchFile("board.cfg", textOf(input)));
    checkSection(parser);
    std::uint32_t headers = 0;
    for (const auto& [key, value] : lines) {
        if (!key.starts_with('[')) {
            continue;
        }
        require(parser.countSections(key.c_str()) >= 1, "a header contains its own text");
        parser.setSection(key.c_str());
        if (headers++ < mostSections) {
            checkSection(parser);
        }
    }
    require(parser.countSections("") == headers, "headers begin with a bracket");
    require(statusOf([&] { parser.setSection("\n"); }) == eCONFIG, "no header has a line end");
    require(wholeFile(parser, scratchFile("written.cfg", written(lines))) == lines, "what was written is read");
}

} // namespace fuzz
