#pragma once

#include "common/source/Property.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace VX_QRS::ORV::CLIENT {

/// The syntax of one line, for other readers of such texts.
namespace propertyLine {

/// Characters; a longer line is cut.
inline constexpr std::string_view::size_type limit = 1023;

/// At the first "="; without one the line is a key with an empty value.
void split(const std::string& line, std::string& key, std::string& value);

/// Replaces "$NAME" by the environment variable's content. Throws eVALUE, with the reason as its detail, when there is
/// no such variable.
void expandVariable(std::string& value);

} // namespace propertyLine

/// A text file of "[section]" headers and "key=value" lines, of which one section at a time is current. The file is
/// held in memory, in order; a key may occur any number of times.
///
/// Syntax: a line that begins with "#" is a comment; blank lines are ignored; trailing blanks and tabs are removed,
/// leading ones are part of the key; a line is split at its first "="; after 1023 characters a line is cut and its rest
/// becomes the next line. A value that begins with "$" names an environment variable; getValue and apply use its
/// content.
///
/// All users share one object with its lines, section and texts. Not thread-safe: one thread at a time. Failures are
/// Exception: eNULL for a null argument, eSEQUENCE before readFile or setSection (an empty section counts as none),
/// others as noted.
class PropertyParser {
public:
    /// Removes lines and section and reads the file; null only removes them. Throws eFILE with the path.
    virtual void readFile(const char* path) = 0;

    /// Null when none was read.
    virtual const char* getFileName() const = 0;

    /// Number of header lines that contain the text.
    virtual std::uint32_t countSections(const char* text) const = 0;

    /// Makes the first section current whose header line contains the name (so "Channel 1" also finds "Channel 10"), or
    /// with null the whole file, headers included. Throws eCONFIG with the name when there is none.
    virtual void setSection(const char* name) = 0;

    /// Lines of the current section.
    virtual std::uint32_t countLines() const = 0;

    /// A line, verbatim. `value` may be null. The texts are valid until the next getLine or getValue. Throws eVALUE past
    /// the end.
    virtual void getLine(std::uint32_t index, const char** key, const char** value) = 0;

    /// The first value of that key. Valid until the next getLine or getValue. Throws eNAME with the key when there is
    /// none, eVALUE for a variable that is not defined.
    virtual void getValue(const char* key, const char** value) = 0;

    /// Sets every line of the section on an object, in order. Keys that it does not know (eNAME) are skipped; any other
    /// failure ends the loop. The object may use this parser meanwhile, even read another file into it: the loop
    /// continues at its index in the content that is current then.
    virtual void apply(Property* object) = 0;

    virtual ~PropertyParser() = default;
};

class PropertyParser_1 : public PropertyParser {
public:
    PropertyParser_1();

    void readFile(const char* path) override;
    const char* getFileName() const override;
    std::uint32_t countSections(const char* text) const override;
    void setSection(const char* name) override;
    std::uint32_t countLines() const override;
    void getLine(std::uint32_t index, const char** key, const char** value) override;
    void getValue(const char* key, const char** value) override;
    void apply(Property* object) override;

private:
    void addLine(std::string_view line);
    void needFile() const;
    void needSection() const;

    std::vector<std::string> lines;
    std::uint32_t firstLine = 0; // of the current section
    std::uint32_t lineCount = 0; // of the current section, 0 while there is none
    std::string keyText;
    std::string valueText;
    std::string fileName;
};

/// Adds a use of the process's one parser and returns it. Throws eALLOC.
PropertyParser* createPropertyParser();

/// Ends a use; the last one deletes the parser. Without uses it does nothing; throws eFAIL for a pointer that is not the
/// parser.
void destroyPropertyParser(PropertyParser* parser);

} // namespace VX_QRS::ORV::CLIENT
