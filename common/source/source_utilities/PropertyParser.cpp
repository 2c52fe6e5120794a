#include "common/source/source_utilities/PropertyParser.h"

#include "common/source/Exception.h"
#include "common/source/source_utilities/TextFile.h"

#include <cstdlib>
#include <new>

namespace VX_QRS::ORV::CLIENT {

namespace {

constexpr const char* unit = "orv_client_utilities";

bool isHeader(const std::string& line) {
    return line.front() == '[';
}

void requirePointer(const void* pointer) {
    if (pointer == nullptr) {
        fail(unit, eNULL);
    }
}

} // namespace

namespace propertyLine {

void split(const std::string& line, std::string& key, std::string& value) {
    const std::size_t at = line.find('=');
    key.assign(line, 0, at);
    if (at == std::string::npos) {
        value.clear();
    } else {
        value.assign(line, at + 1);
    }
}

void expandVariable(std::string& value) {
    if (value.empty() || value.front() != '$') {
        return;
    }
    const char* content = std::getenv(value.c_str() + 1);
    if (content == nullptr) {
        fail(unit, eVALUE, value + " not defined in environment variables");
    }
    value = content;
}

} // namespace propertyLine

PropertyParser_1::PropertyParser_1() {
    PropertyParser_1::readFile(nullptr);
}

void PropertyParser_1::readFile(const char* path) {
    lines.clear();
    lineCount = 0;
    if (path == nullptr) {
        return;
    }
    fileName = std::string(path); // the path may be one of the texts of this object
    std::string text;
    if (!textFile::read(fileName, text, textFile::Mode::text)) {
        fail(unit, eFILE, fileName);
    }
    std::string_view rest(text);
    std::string_view line;
    while (textFile::takeLine(rest, "\r\n", propertyLine::limit, line)) {
        addLine(line);
    }
}

void PropertyParser_1::addLine(std::string_view line) {
    if (line.starts_with('#')) {
        return;
    }
    // Lines are returned as C strings, which end at a zero byte.
    line = line.substr(0, line.find('\0'));
    line = line.substr(0, line.find_last_not_of(" \t") + 1);
    if (!line.empty()) {
        lines.emplace_back(line);
    }
}

const char* PropertyParser_1::getFileName() const {
    return fileName.empty() ? nullptr : fileName.c_str();
}

void PropertyParser_1::needFile() const {
    if (fileName.empty()) {
        fail(unit, eSEQUENCE, "must call readFile first");
    }
}

void PropertyParser_1::needSection() const {
    if (lineCount == 0) {
        fail(unit, eSEQUENCE, "must call setSection first");
    }
}

std::uint32_t PropertyParser_1::countSections(const char* text) const {
    needFile();
    requirePointer(text);
    std::uint32_t count = 0;
    for (const std::string& line : lines) {
        if (isHeader(line) && line.find(text) != std::string::npos) {
            ++count;
        }
    }
    return count;
}

void PropertyParser_1::setSection(const char* name) {
    needFile();
    firstLine = 0;
    lineCount = 0;
    const auto total = static_cast<std::uint32_t>(lines.size());
    if (name == nullptr) {
        lineCount = total;
        return;
    }
    while (firstLine < total && !(isHeader(lines[firstLine]) && lines[firstLine].find(name) != std::string::npos)) {
        ++firstLine;
    }
    if (firstLine == total) {
        fail(unit, eCONFIG, name);
    }
    ++firstLine;
    while (firstLine + lineCount < total && !isHeader(lines[firstLine + lineCount])) {
        ++lineCount;
    }
}

std::uint32_t PropertyParser_1::countLines() const {
    needSection();
    return lineCount;
}

void PropertyParser_1::getLine(std::uint32_t index, const char** key, const char** value) {
    requirePointer(key);
    needSection();
    if (index >= lineCount) {
        fail(unit, eVALUE, "invalid index");
    }
    propertyLine::split(lines[firstLine + index], keyText, valueText);
    *key = keyText.c_str();
    if (value != nullptr) {
        *value = valueText.c_str();
    }
}

void PropertyParser_1::getValue(const char* key, const char** value) {
    requirePointer(key);
    requirePointer(value);
    needSection();
    const std::string wanted(key); // the key may be one of the texts of this object
    std::uint32_t index = 0;
    do {
        if (index == lineCount) {
            fail(unit, eNAME, wanted);
        }
        propertyLine::split(lines[firstLine + index], keyText, valueText);
        ++index;
    } while (keyText != wanted);
    propertyLine::expandVariable(valueText);
    *value = valueText.c_str();
}

void PropertyParser_1::apply(Property* object) {
    requirePointer(object);
    needSection();
    // The object may read another file, choose another section or get texts here: the bounds are read anew for each
    // line, and the line is passed in copies.
    for (std::uint32_t index = 0; index < lineCount; ++index) {
        std::string key;
        std::string value;
        propertyLine::split(lines[firstLine + index], key, value);
        propertyLine::expandVariable(value);
        try {
            object->setProperty(key.c_str(), value.c_str());
        } catch (const Exception& e) {
            if (e.status() != eNAME) {
                throw;
            }
        }
    }
}

namespace {

PropertyParser* sharedParser = nullptr;
std::uint32_t useCount = 0;

} // namespace

PropertyParser* createPropertyParser() {
    if (sharedParser == nullptr) {
        try {
            sharedParser = new PropertyParser_1;
        } catch (const std::bad_alloc&) {
            fail(unit, eALLOC);
        }
    }
    ++useCount;
    return sharedParser;
}

void destroyPropertyParser(PropertyParser* parser) {
    if (useCount == 0) {
        return;
    }
    if (parser != sharedParser) {
        fail(unit, eFAIL);
    }
    --useCount;
    if (useCount == 0) {
        delete sharedParser;
        sharedParser = nullptr;
    }
}

} // namespace VX_QRS::ORV::CLIENT
