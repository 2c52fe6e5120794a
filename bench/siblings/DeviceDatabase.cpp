#include "bench/siblings/DeviceDatabase.h"

#include "bench/scenarios/FilePath.h"
#include "bench/scenarios/TomlText.h"
#include "bench/siblings/LibraryFolder.h"

#include <toml++/toml.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <limits>
#include <sstream>

namespace bench {

namespace {

[[noreturn]] void refuse(const std::filesystem::path& file, const toml::node& where, const std::string& reason) {
    throw DeviceDatabaseError(file.string() + ":" + std::to_string(where.source().begin.line) + ": " + reason);
}

/// The whole file, checked for the parser.
std::string textOf(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        throw DeviceDatabaseError(file.string() + ": cannot be opened");
    }
    std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    if (const std::string fault = tomlTextFault(text, file.string()); !fault.empty()) {
        throw DeviceDatabaseError(fault);
    }
    return text;
}

std::string textOf(const std::filesystem::path& file, const toml::table& table, const char* key,
                   const std::string& fallback) {
    const toml::node* node = table.get(key);
    if (node == nullptr) {
        return fallback;
    }
    if (const auto* text = node->as_string()) {
        return text->get();
    }
    refuse(file, *node, std::string("'") + key + "' must be a text");
}

using Pinouts = std::vector<std::pair<std::string, std::string>>;

Pinouts readPinouts(const std::filesystem::path& file, const toml::table& root, const std::string& name,
                    const toml::node& where) {
    const toml::table* group = root["pinouts"][name].as_table();
    if (group == nullptr) {
        refuse(file, where, "there is no table [pinouts." + name + "]");
    }
    Pinouts found;
    for (const auto& [key, value] : *group) {
        if (!value.is_string()) {
            refuse(file, value, "a pin-out must be a text");
        }
        found.emplace_back(std::string(key.str()), value.as_string()->get());
    }
    return found;
}

DeviceEntry readEntry(const std::filesystem::path& file, const toml::table& root, const toml::table& table) {
    DeviceEntry entry;
    entry.part = textOf(file, table, "part", "");
    entry.parent = textOf(file, table, "parent", "");
    entry.trace = textOf(file, table, "trace", "");
    const std::string group = textOf(file, table, "pinouts", "");
    if (!group.empty()) {
        entry.pinouts = readPinouts(file, root, group, table);
    }
    return entry;
}

std::uint32_t readCpuId(const std::filesystem::path& file, const toml::table& table) {
    const toml::node* node = table.get("cpu_id");
    if (node == nullptr) {
        return 0;
    }
    const auto value = node->value<std::int64_t>();
    if (!value || *value < 0 || *value > std::numeric_limits<std::uint32_t>::max()) {
        refuse(file, *node, "'cpu_id' must be a number of 32 bits");
    }
    return static_cast<std::uint32_t>(*value);
}

Device readDevice(const std::filesystem::path& file, const toml::table& root, const toml::table& table) {
    static const toml::table none;
    const toml::table* unit = root["unit"].as_table();
    if (unit == nullptr) {
        unit = &none;
    }
    Device device;
    device.name = textOf(file, table, "name", "");
    if (device.name.empty()) {
        refuse(file, table, "a device needs a name");
    }
    device.note = textOf(file, table, "note", "");
    device.cpuId = readCpuId(file, table);
    device.reachable = table["reachable"].value_or(true);
    device.unitName = textOf(file, table, "unit_name", textOf(file, *unit, "name", ""));
    device.unitPort = textOf(file, table, "unit_port", textOf(file, *unit, "port", ""));
    if (const toml::table* traits = table["characteristics"].as_table()) {
        for (const auto& [key, value] : *traits) {
            device.characteristics[std::string(key.str())] = value.value_or(std::string());
        }
    }
    if (const toml::array* entries = table["entry"].as_array()) {
        for (const toml::node& entry : *entries) {
            if (!entry.is_table()) {
                refuse(file, entry, "an entry must be a table");
            }
            device.entries.push_back(readEntry(file, root, *entry.as_table()));
        }
    }
    return device;
}

} // namespace

DeviceDatabase DeviceDatabase::load(const std::filesystem::path& file) {
    DeviceDatabase base;
    const std::string content = textOf(file);
    try {
        const toml::table root = toml::parse(content);
        const toml::array* devices = root["device"].as_array();
        if (devices == nullptr) {
            throw DeviceDatabaseError(file.string() + ": no [[device]] in it");
        }
        for (const toml::node& device : *devices) {
            if (!device.is_table()) {
                refuse(file, device, "a device must be a table");
            }
            base.devices.push_back(readDevice(file, root, *device.as_table()));
        }
    } catch (const toml::parse_error& error) {
        std::ostringstream text;
        text << file.string() << ":" << error.source().begin.line << ": " << error.description();
        throw DeviceDatabaseError(text.str());
    }
    return base;
}

std::filesystem::path DeviceDatabase::defaultFile() {
    const char* named = std::getenv("ORV_BENCH_DEVICES");
    if (named != nullptr && *named != 0) {
        return filePath(named);
    }
    return libraryFolder() / "devices.toml";
}

const Device* DeviceDatabase::find(std::string_view name) const {
    const auto found =
        std::find_if(devices.begin(), devices.end(), [&](const Device& device) { return device.name == name; });
    return found == devices.end() ? nullptr : &*found;
}

} // namespace bench
