#include "bench/siblings/PartIdentifier.h"

#include <new>
#include <string_view>

namespace bench {

using namespace Vx::Qrs::Trace;

namespace {

class SimulatedProperty : public IPartProperty {
public:
    SimulatedProperty(std::string propertyName, std::string propertyValue)
        : name(std::move(propertyName)), value(std::move(propertyValue)) {}
    const char* getName() override { return name.c_str(); }
    const char* getValue() override { return value.c_str(); }

private:
    std::string name;
    std::string value;
};

class SimulatedPart : public IPart {
public:
    explicit SimulatedPart(std::string partName) : name(std::move(partName)) {}
    const char* getName() override { return name.c_str(); }
    std::vector<IPartProperty*> getProperties(const char* group) override try {
        std::vector<IPartProperty*> found;
        if (group != nullptr && std::string_view(group) == "program.pinouts") {
            for (SimulatedProperty& property : pinouts) {
                found.push_back(&property);
            }
        }
        return found;
    } catch (const std::bad_alloc&) {
        return {};
    }

    std::vector<SimulatedProperty> pinouts;

private:
    std::string name;
};

class SimulatedDevice : public IDevice {
public:
    explicit SimulatedDevice(const Device& device) : record(device) {}
    const char* getCharacteristic(const char* name) override {
        const auto found = record.characteristics.find(std::string_view(name != nullptr ? name : ""));
        return found == record.characteristics.end() ? "" : found->second.c_str();
    }

private:
    const Device& record;
};

class SimulatedEntry : public IDeviceEntry {
public:
    SimulatedEntry(const Device& device, const DeviceEntry& entry) : whole(device) {
        if (!entry.parent.empty()) {
            parent = std::make_unique<SimulatedPart>(entry.parent);
        }
        if (entry.trace.empty()) {
            return;
        }
        trace = std::make_unique<SimulatedPart>(entry.trace);
        for (const auto& [name, value] : entry.pinouts) {
            trace->pinouts.emplace_back(name, value);
        }
    }
    IDevice* getDevice() override { return &whole; }
    IPart* getParentPart() override { return parent.get(); }
    IPart* getTracePart() override { return trace.get(); }

private:
    SimulatedDevice whole;
    std::unique_ptr<SimulatedPart> parent;
    std::unique_ptr<SimulatedPart> trace;
};

} // namespace

struct PartIdentifier::Shown {
    const Device* device = nullptr;
    std::vector<std::unique_ptr<SimulatedEntry>> entries;
};

PartIdentifier::PartIdentifier(DeviceDatabase data) : base(std::move(data)) {}
PartIdentifier::~PartIdentifier() = default;

PartIdentifier::Shown& PartIdentifier::shownFor(const Device& device) {
    for (const auto& candidate : shown) {
        if (candidate->device == &device) {
            return *candidate;
        }
    }
    auto made = std::make_unique<Shown>();
    made->device = &device;
    for (const DeviceEntry& entry : device.entries) {
        made->entries.push_back(std::make_unique<SimulatedEntry>(device, entry));
    }
    return *shown.emplace_back(std::move(made));
}

std::vector<IDeviceEntry*> PartIdentifier::getDeviceEntries(const char* deviceName) try {
    const Device* device = base.find(deviceName != nullptr ? deviceName : "");
    if (device == nullptr) {
        return {};
    }
    std::vector<IDeviceEntry*> found;
    for (const auto& entry : shownFor(*device).entries) {
        found.push_back(entry.get());
    }
    return found;
} catch (const std::bad_alloc&) {
    return {};
}

const char* PartIdentifier::getDeviceText(const char* deviceName, unsigned selector) try {
    text.clear();
    if (const Device* device = base.find(deviceName != nullptr ? deviceName : "")) {
        switch (selector) {
        case eDeviceName:
            text = device->name;
            break;
        case eUnitName:
            text = device->unitName;
            break;
        case eUnitPort:
            text = device->unitPort;
            break;
        default:
            break;
        }
    }
    return text.c_str();
} catch (const std::bad_alloc&) {
    return "";
}

} // namespace bench
