#pragma once

#include "toolkit/OutputFiles.h"

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

// "-" in the place of a file: the standard output, or the standard input.

namespace host {

inline constexpr const char* standardStream = "-";

/// The outputs of a command, of which one may be the standard output: the text of the result then goes to the standard
/// error output.
class NamedOutputs {
public:
    /// Empty names are left out. Throws Failure (Usage) for two outputs in the standard output, or one beside JSON.
    NamedOutputs(const std::vector<std::string>& names, bool json);

    /// Tests those that are files, after the inputs were named to `files`.
    void test(toolkit::CommandFiles& files) const;
    /// Writes one of them; nothing for an empty name.
    void write(const std::string& name, const std::function<void(std::ostream&)>& body) const;
    /// Prints the command's result.
    void print(const std::string& text) const;

private:
    std::vector<std::string> outputs;
    bool toStandard = false;
};

} // namespace host
