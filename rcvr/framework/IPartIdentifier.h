#pragma once

#include <vector>

// The device identification library `PartIdentifier`: what is known of a device and of its trace pins.
//
// Everything that it gives out belongs to the identifier object. Texts are never null; objects and texts stay valid
// until the object is destroyed, except getDeviceText's, which lasts until its next call.

namespace Vx::Qrs::Trace {

class IPartProperty {
public:
    virtual const char* getName() = 0;
    virtual const char* getValue() = 0;
    virtual ~IPartProperty() = default;
};

class IPart {
public:
    virtual const char* getName() = 0;
    /// The properties of one group, in the data base's order. Pin assignments are the group "program.pinouts".
    virtual std::vector<IPartProperty*> getProperties(const char* group) = 0;
    virtual ~IPart() = default;
};

class IDevice {
public:
    /// A named characteristic's text, empty when the device has none of that name.
    virtual const char* getCharacteristic(const char* name) = 0;
    virtual ~IDevice() = default;
};

class IDeviceEntry {
public:
    /// The device itself, or null.
    virtual IDevice* getDevice() = 0;
    /// The part that owns the trace part, or null.
    virtual IPart* getParentPart() = 0;
    /// The part that exports trace, or null.
    virtual IPart* getTracePart() = 0;
    virtual ~IDeviceEntry() = default;
};

class IPartIdentifier {
public:
    /// What getDeviceText is asked for.
    enum TextSelector : unsigned { eDeviceName = 0, eUnitName = 1, eUnitPort = 2 };

    /// The entries of a device, found by its full CPU name; empty for an unknown one.
    virtual std::vector<IDeviceEntry*> getDeviceEntries(const char* deviceName) = 0;
    /// One text about a device; empty when unknown. The port may stand in double quotes.
    virtual const char* getDeviceText(const char* deviceName, unsigned selector) = 0;
    virtual ~IPartIdentifier() = default;
};

} // namespace Vx::Qrs::Trace

extern "C" {
/// Exports of the library `PartIdentifier`. The second argument of DestroyPartIdentifier is 0.
using CreatePartIdentifierFunction = Vx::Qrs::Trace::IPartIdentifier* (*)();
using DestroyPartIdentifierFunction = void (*)(Vx::Qrs::Trace::IPartIdentifier*, unsigned);
}
