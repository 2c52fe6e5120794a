#include "FakeControl.h"
#include "rcvr/framework/IPartIdentifier.h"

#include <memory>

// Reads its device from the text file that FAKE_DEVICE names: "device", "unit", "port", then per entry "entry",
// "parent", "trace", "pinout NAME=VALUE", "version" and "corrupt" lines.

using namespace Vx::Qrs::Trace;

namespace {

const fake::NotesItsUnloading unloading("PartIdentifier");

class Property : public IPartProperty {
public:
    Property(std::string propertyName, std::string propertyValue)
        : name(std::move(propertyName)), value(std::move(propertyValue)) {}
    const char* getName() override { return name.c_str(); }
    const char* getValue() override { return value.c_str(); }

private:
    std::string name;
    std::string value;
};

class Part : public IPart {
public:
    std::string name;
    std::vector<std::unique_ptr<Property>> pinouts;
    bool corrupt = false;

    const char* getName() override { return name.c_str(); }
    std::vector<IPartProperty*> getProperties(const char* group) override {
        if (corrupt) {
            throw std::runtime_error("cannot read");
        }
        std::vector<IPartProperty*> found;
        if (std::string(group) == "program.pinouts") {
            for (const auto& pinout : pinouts) {
                found.push_back(pinout.get());
            }
        }
        return found;
    }
};

class Device : public IDevice {
public:
    std::string version;
    const char* getCharacteristic(const char* name) override {
        return std::string(name) == "DEV_CHAR_ATB_STP_VERSION" ? version.c_str() : "";
    }
};

class Entry : public IDeviceEntry {
public:
    std::unique_ptr<Device> device;
    std::unique_ptr<Part> parent;
    std::unique_ptr<Part> tracePart;
    IDevice* getDevice() override { return device.get(); }
    IPart* getParentPart() override { return parent.get(); }
    IPart* getTracePart() override { return tracePart.get(); }
};

class Identifier : public IPartIdentifier {
public:
    Identifier() {
        std::ifstream file(VX_QRS::uEnvironment::get("FAKE_DEVICE"));
        for (std::string line; std::getline(file, line);) {
            if (!line.empty() && line.back() == '\r') {
                line.pop_back();
            }
            const std::size_t blank = line.find(' ');
            read(line.substr(0, blank), blank == std::string::npos ? "" : line.substr(blank + 1));
        }
    }

    std::vector<IDeviceEntry*> getDeviceEntries(const char* name) override {
        fake::trace("getDeviceEntries " + std::string(name));
        fake::behaviour("FAKE_ENTRIES");
        std::vector<IDeviceEntry*> found;
        if (name == deviceName) {
            for (const auto& entry : entries) {
                found.push_back(entry.get());
            }
        }
        return found;
    }

    const char* getDeviceText(const char* name, unsigned selector) override {
        fake::trace("getDeviceText " + std::string(name) + " " + std::to_string(selector));
        fake::behaviour("FAKE_TEXT");
        if (selector == eUnitName) {
            return unit.c_str();
        }
        return selector == eUnitPort ? port.c_str() : deviceName.c_str();
    }

private:
    void read(const std::string& key, const std::string& value) {
        if (key == "device") {
            deviceName = value;
        } else if (key == "unit") {
            unit = value;
        } else if (key == "port") {
            port = value;
        } else if (key == "entry") {
            entries.push_back(std::make_unique<Entry>());
        } else if (key == "parent") {
            entries.back()->parent = std::make_unique<Part>();
            entries.back()->parent->name = value;
        } else if (key == "trace") {
            entries.back()->tracePart = std::make_unique<Part>();
            entries.back()->tracePart->name = value;
        } else if (key == "pinout") {
            const std::size_t equals = value.find('=');
            entries.back()->tracePart->pinouts.push_back(
                std::make_unique<Property>(value.substr(0, equals), value.substr(equals + 1)));
        } else if (key == "corrupt") {
            entries.back()->tracePart->corrupt = true;
        } else if (key == "version") {
            entries.back()->device = std::make_unique<Device>();
            entries.back()->device->version = value;
        }
    }

    std::string deviceName;
    std::string unit;
    std::string port;
    std::vector<std::unique_ptr<Entry>> entries;
};

} // namespace

extern "C" {

FAKE_EXPORT IPartIdentifier* CreatePartIdentifier() {
    if (fake::behaviour("FAKE_PART") == "null") {
        return nullptr;
    }
    fake::trace("CreatePartIdentifier");
    return new Identifier;
}

FAKE_EXPORT void DestroyPartIdentifier(IPartIdentifier* object, unsigned value) {
    delete object;
    fake::trace("DestroyPartIdentifier " + std::to_string(value));
    fake::behaviour("FAKE_PART_DESTROY");
}
}
