#pragma once

#include "common/source/source_utilities/source_utilities_error.h"

#include <string>
#include <string_view>
#include <vector>

namespace VX_QRS {

/// A file of named sections of named text variables, held in memory in the order of the file. There are two line
/// syntaxes: "[section]" headers with "name=value" lines, and an XML-shaped one with one element per line ("<section>",
/// "<name>value</name>", "</section>"), without attributes, entities or deeper nesting. Other lines are ignored; parsing
/// never fails and takes time linear in the size of the file.
///
/// Not thread-safe. References and pointers to variables are valid until the next change.
class uConfig {
public:
    class error : public source_utilities_error {
    public:
        using source_utilities_error::source_utilities_error;
    };
    /// There is no such variable.
    class name_error : public error {
    public:
        using error::error;
    };

    struct Variable {
        std::string name;
        std::string value;
        bool operator==(const Variable&) const = default;
    };
    struct Section {
        std::string name;
        std::vector<Variable> variables;
        bool operator==(const Section&) const = default;
    };

    explicit uConfig(bool useXml = false) : xml(useXml) {}
    virtual ~uConfig() = default;

    /// Throws error on null.
    void setPath(const char* path);

    /// Adds the file's content to that in memory. A section of the file replaces the one of the same name, as a whole
    /// and at its first variable, and moves to the end; other sections stay. That also holds for a section that occurs
    /// twice in the file. Variables of one section are appended, also those of equal names: look-ups find the first.
    /// Throws error when no path was set or the file cannot be opened.
    void read();

    /// Writes everything to the file, with `header` (may be null) unchanged on a line before it. The old file is
    /// replaced only by a complete new one. Throws error when no path was set, the file cannot be opened for writing or
    /// its folder accepts no new file, and when not everything could be written.
    void write(const char* header = nullptr);

    /// The text that `write` writes, with LF as line end.
    std::string format(const char* header = nullptr) const;

    /// Sets the first variable of that name (of that section, or of any with a null section), or else appends it to the
    /// last section of that name (the one with the empty name for null), which is created when it is missing.
    Variable& addVariable(const char* name, const char* value, const char* section = nullptr);

    /// The first variable of that name in that section, or in any with a null section. Throws name_error.
    Variable& getVariable(const char* name, const char* section = nullptr);

    /// Appends the variables of the section, or of all sections in order with a null one.
    void getVariables(std::vector<Variable>& out, const char* section = nullptr) const;

    /// Removes the first section of that name with its variables; an unknown one is ignored.
    void removeSection(const char* name);

    const std::vector<Section>& getSections() const { return sections; }

private:
    class Reader;

    void readPlainLine(Reader& reader, std::string_view line);
    void readXmlLine(Reader& reader, std::string_view line);
    Variable* find(const char* name, const char* section);

    std::string path;
    std::vector<Section> sections;
    bool xml;
};

} // namespace VX_QRS
