#include "host/files/DevicesFile.h"

#include <toml++/toml.h>

namespace host {

std::vector<std::pair<std::string, std::string>> devicesOf(const std::filesystem::path& file) {
    std::vector<std::pair<std::string, std::string>> devices;
    try {
        const toml::table root = toml::parse_file(file.string());
        const toml::array* list = root["device"].as_array();
        for (std::size_t i = 0; list != nullptr && i < list->size(); ++i) {
            const toml::table* device = (*list)[i].as_table();
            if (device != nullptr)
                devices.emplace_back((*device)["name"].value_or(std::string()),
                                     (*device)["note"].value_or(std::string()));
        }
    } catch (const toml::parse_error&) { // a real data base has no such file
    }
    return devices;
}

} // namespace host
