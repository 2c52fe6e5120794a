#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace diagnosis {

struct PropertiesSection {
    std::string name; ///< as between the brackets
    std::vector<std::pair<std::string, std::string>> entries;
};

/// The properties file of a recording, ".cfg".
struct PropertiesFile {
    std::vector<PropertiesSection> sections;

    /// The last value of a key in any section.
    std::optional<std::string> value(std::string_view key) const;
};

/// Throws Failure (BadInput) with file, line and what is wrong; never anything else, whatever the bytes.
PropertiesFile parseProperties(std::string_view text, const std::string& file);
PropertiesFile readProperties(const std::filesystem::path& file);

} // namespace diagnosis
