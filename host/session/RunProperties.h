#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace host {

/// A property of the channel that the user set.
struct SetProperty {
    std::string name;
    std::string value;
};

/// Properties of the channel that no settings file has: those of the file that the environment variable
/// VX_TRACE_PROPERTIES names, then the user's own, which win. The receiver reads them from one file.
class RunProperties {
public:
    /// Throws Failure (BadInput) for a file that cannot be used, and (Usage) for an own one that cannot be set.
    explicit RunProperties(const std::vector<std::string>& own);
    /// Sets the variable as it was.
    ~RunProperties();
    RunProperties(const RunProperties&) = delete;
    RunProperties& operator=(const RunProperties&) = delete;

    /// The file that the variable names; empty if it names none.
    static std::filesystem::path givenFile();

    const std::vector<SetProperty>& all() const { return properties; }

    /// All are now those of `own` with `others` in place of, or after them.
    void replace(const std::vector<SetProperty>& own, const std::vector<SetProperty>& others);

    /// Writes all properties to a file and names it to the receiver. Throws Failure (OutputUnwritable).
    void writeTo(const std::filesystem::path& file);

private:
    std::string variable; ///< its value before
    std::vector<SetProperty> properties;
};

/// Why the receiver would reject this NAME=VALUE; empty if it accepts it.
std::string propertyFault(const std::string& text);

/// The names of all properties that can be set.
std::vector<std::string> settableProperties();

bool isSet(const std::vector<SetProperty>& properties, const std::string& name);

/// The fault of a run that waits for a full buffer, which properties make wrap.
inline constexpr const char* wrapsByProperty =
    "the property orvBufMode makes the unit's buffer wrap; leave it out, this run waits for a full buffer";

/// "with NAME=VALUE, NAME=VALUE" and a line end; empty without properties.
std::string propertiesText(const std::vector<SetProperty>& properties);

} // namespace host
