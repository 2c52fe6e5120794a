#pragma once

#include "common/source/Property.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace VX_QRS::ORV::CLIENT {

// A text file of "[section]" headers and "key=value" lines, of which one section at a time is current. The file is
// held in memory, in order; a key may occur any number of times.
//
// Syntax: a line that begins with "#" is a comment; blank lines are dropped; trailing blanks and tabs are removed,
// leading ones stay in the key; a line is split at its first "="; one of more than 1023 characters is cut there and its
// rest becomes a further line. A value that begins with "$" names an environment variable, whose content getValue and
// apply give in its place.
//
// The object is shared by all who ask for it, with its lines, section and texts, and has no lock: callers keep to one
// thread at a time. Failures are Exception: eNULL for a null argument, eSEQUENCE before readFile or setSection (an empty
// section counts as none), others as told.
class PropertyParser {
public:
    // Forgets lines and section and reads the file; null only forgets. Throws eFILE with the path.
    virtual void readFile(const char* path) = 0;

    // Null when none was given.
    virtual const char* getFileName() const = 0;

    // How many header lines contain the text.
    virtual std::uint32_t countSections(const char* text) const = 0;

    // Makes the first section current whose header line contains the name (so "Channel 1" also finds "Channel 10"), or
    // with null the whole file, headers included. Throws eCONFIG with the name when there is none.
    virtual void setSection(const char* name) = 0;

    // Lines of the current section.
    virtual std::uint32_t countLines() const = 0;

    // A line as it stands in the file. `value` may be null. The texts are good until the next getLine or getValue.
    // Throws eVALUE past the end.
    virtual void getLine(std::uint32_t index, const char** key, const char** value) = 0;

    // The first value of that key. Good until the next getLine or getValue. Throws eNAME with the key when there is
    // none, eVALUE for a variable that is not defined.
    virtual void getValue(const char* key, const char** value) = 0;

    // Sets every line of the section on an object, in order. Keys that it does not know (eNAME) are passed over; any
    // other failure ends the walk. The object may use this parser meanwhile, even read another file into it: the walk
    // goes on at its index in what is current then.
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

// The process's one parser, and one more use of it. Throws eALLOC.
PropertyParser* createPropertyParser();

// One use less; the last one deletes the parser. Does nothing when there are no uses, and throws eFAIL for a pointer
// that is not the parser.
void destroyPropertyParser(PropertyParser* parser);

} // namespace VX_QRS::ORV::CLIENT
