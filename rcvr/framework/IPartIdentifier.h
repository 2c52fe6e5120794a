#pragma once

#include <vector>

// The device identification library `PartIdentifier`: what is known of a device and of its trace pins.
//
// The identifier object owns everything that it returns. Texts are never null; objects and texts stay valid
// until the object is destroyed, except getDeviceText's, which lasts until its next call.
//
// The receiver makes an object in the first CreateRcvr and a further one in each CChannelDriver::SetConfiguration:
// several live at once. It asks on the thread that calls the receiver, one question at a time, waits as long as an
// answer takes, and gives no null names. A pin-out that cannot be understood, a null where none may be, or anything
// thrown while pin-outs are read is "Invalid or corrupted trace device database for <name>".

namespace Vx::Qrs::Trace {

class IPartProperty {
public:
    /// Of a pin-out: its name, which is for people only, and by which pin-outs are tried in order.
    virtual const char* getName() = 0;
    /// Of a pin-out: its assignments, "KIND=CLOCK,BIT 0,...;KIND=...", in emulation pins 0 to 5.
    virtual const char* getValue() = 0;
    virtual ~IPartProperty() = default;
};

class IPart {
public:
    /// Of the part that owns a trace part; shown to people.
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

    /// The entries of a device, found by its full CPU name; empty for an unknown one. The first with a trace part that
    /// has pin-outs counts.
    virtual std::vector<IDeviceEntry*> getDeviceEntries(const char* deviceName) = 0;
    /// One text about a device, `selector` being a TextSelector; empty when unknown. The port may be in double
    /// quotes.
    virtual const char* getDeviceText(const char* deviceName, unsigned selector) = 0;
    virtual ~IPartIdentifier() = default;
};

} // namespace Vx::Qrs::Trace

extern "C" {
/// Exports of the library `PartIdentifier`. CreatePartIdentifier returns null when it cannot make an object; each
/// object is passed once to DestroyPartIdentifier, whose second argument is 0.
using CreatePartIdentifierFunction = Vx::Qrs::Trace::IPartIdentifier* (*)();
using DestroyPartIdentifierFunction = void (*)(Vx::Qrs::Trace::IPartIdentifier*, unsigned);
}
