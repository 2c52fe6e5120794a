#include "bench/siblings/DeviceDatabase.h"
#include "bench/siblings/PartIdentifier.h"
#include "fuzz/Require.h"
#include "fuzz/Scratch.h"
#include "fuzz/Targets.h"
#include "fuzz/Text.h"
#include "host/scenario/ScenarioFile.h"

#include <optional>
#include <string>

namespace fuzz {

namespace {

using Vx::Qrs::Trace::IDeviceEntry;
using Vx::Qrs::Trace::IPart;

std::optional<bench::DeviceDatabase> load(const std::string& path) {
    try {
        return bench::DeviceDatabase::load(path);
    } catch (const bench::DeviceDatabaseError& error) {
        require(std::string_view(error.what()).starts_with(path + ":"), error.what());
        return std::nullopt;
    }
}

void checkEntry(IDeviceEntry& shown, const bench::DeviceEntry& entry) {
    IPart* const trace = shown.getTracePart();
    require((trace == nullptr) == entry.trace.empty(), "an entry has its trace part");
    require(trace == nullptr || trace->getProperties("program.pinouts").size() == entry.pinouts.size(),
            "a trace part has its pin-outs");
}

/// The first device of a name counts.
void checkIdentification(const bench::DeviceDatabase& database) {
    bench::PartIdentifier identifier(database);
    for (const bench::Device& device : database.all()) {
        require(!device.name.empty(), "a device has a name");
        const bench::Device* const first = database.find(device.name);
        require(first != nullptr && first->name == device.name, "a device is found");
        const auto shown = identifier.getDeviceEntries(device.name.c_str());
        if (device.name.find('\0') != std::string::npos || first != &device) {
            continue;
        }
        require(shown.size() == device.entries.size(), "a device has its entries");
        for (std::size_t i = 0; i < shown.size(); ++i) {
            checkEntry(*shown[i], device.entries[i]);
        }
    }
}

} // namespace

void devices(Input input) {
    const std::string path = scratchFile("devices.toml", textOf(input));
    const auto database = load(path);
    const auto listed = host::devicesOf(path);
    if (!database) {
        return;
    }
    checkIdentification(*database);
    require(listed.size() == database->all().size(), "all devices are listed");
    for (std::size_t i = 0; i < listed.size(); ++i) {
        require(listed[i] == std::pair(database->all()[i].name, database->all()[i].note), "names and notes agree");
    }
}

} // namespace fuzz
