#pragma once

#include <string>
#include <vector>

// Properties that a user adds to the section of each channel. No settings file has them, and the channel driver writes
// the properties file anew at each configuration.

namespace VX_QRS::ORV::CLIENT {

/// Names a file of added properties; none are added while it is unset or empty.
inline constexpr const char* addedPropertiesVariable = "VX_TRACE_PROPERTIES";

struct AddedProperty {
    std::string name;
    std::string value;

    bool operator==(const AddedProperty&) const = default;
};

/// Splits "NAME=VALUE", without blanks at its end, at the first "=". Throws std::runtime_error with the reason: no
/// such property, not one that can be added, a value that the property does not have, not a single line.
AddedProperty parseAddedProperty(const std::string& text);

/// Puts a property at the end, in place of an earlier one of its name: the last one counts.
void addProperty(std::vector<AddedProperty>& all, const AddedProperty& next);

/// The properties of a file, NAME=VALUE a line. Lines that begin with "#" and blank lines are skipped, a byte order
/// mark of UTF-8 too. Throws std::runtime_error with file, line, reason and remedy; one bad line rejects the file.
std::vector<AddedProperty> readAddedProperties(const std::string& path);

} // namespace VX_QRS::ORV::CLIENT
