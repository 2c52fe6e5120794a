#include "host/scenario/DevicesFile.h"

#include "bench/scenarios/TomlText.h"
#include "toolkit/ExitCode.h"
#include "toolkit/TextFile.h"

#include <toml++/toml.h>

namespace host {

std::vector<std::pair<std::string, std::string>> devicesOf(const std::filesystem::path& file) {
    std::vector<std::pair<std::string, std::string>> devices;
    try {
        const std::string text = toolkit::readText(file);
        if (!bench::tomlTextFault(text, file.string()).empty()) {
            return devices;
        }
        const toml::table root = toml::parse(text);
        const toml::array* list = root["device"].as_array();
        for (std::size_t i = 0; list != nullptr && i < list->size(); ++i) {
            const toml::table* device = (*list)[i].as_table();
            if (device != nullptr) {
                devices.emplace_back((*device)["name"].value_or(std::string()),
                                     (*device)["note"].value_or(std::string()));
            }
        }
    } catch (const toolkit::Failure&) { // a real data base has no such file
    } catch (const toml::parse_error&) {
    }
    return devices;
}

} // namespace host
