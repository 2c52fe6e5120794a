#pragma once

#include "common/source/source_utilities/uDll.h"
#include "pinmap/PinSearch.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Vx::Qrs::Trace {
class IPartIdentifier;
}

namespace Vx::Qrs::Trace::OrvRcvr {

/// Which emulation pins of a device can carry which trace, and the search for an assignment.
///
/// For one conversion on one thread. Failures are Zarn::cZarnError with severity 2; the maps keep what was read before
/// a failure.
class TracePinMapper {
public:
    /// Loads the device identification library. A missing library is reported when the database is read.
    TracePinMapper();
    TracePinMapper(const TracePinMapper&) = delete;
    TracePinMapper& operator=(const TracePinMapper&) = delete;
    virtual ~TracePinMapper();

    /// Adds the pin-outs of the device's first entry that has a trace part with pins.
    virtual void readDeviceDatabase(const char* deviceName);

    /// Adds the pin-outs of a configuration file with "pin-out name=kind=pins;kind=pins" lines, which has no owners.
    virtual void readPinMapFile(const char* path);

    /// Empty for an unknown kind, which this call adds. Valid as long as the object.
    virtual const std::string& getOwnerName(const std::string& kind);

    /// The possible numbers of data pins of the kind, ascending, with pins of `allowed` only.
    virtual void getDataPinCounts(std::vector<std::uint32_t>& counts, const std::string& kind, const PinList& allowed);

    virtual bool findPinMap(PinGrants& grants, std::string& pinoutName, const PinRequests& requests,
                            const PinList& excluded);

    /// Unless `required` is empty, only those pins are used. See searchPinouts.
    virtual bool findPinMapWithin(PinGrants& grants, std::string& pinoutName, const PinRequests& requests,
                                  const PinList& excluded, const PinList& required);

    const Pinouts& getPinouts() const { return pinouts; }

private:
    void openDatabase();
    bool readEntries(const char* deviceName);

    Pinouts pinouts;
    OwnerNames ownerNames;
    VX_QRS::uDll library;
    IPartIdentifier* database = nullptr; // owned, freed by its library's export
};

} // namespace Vx::Qrs::Trace::OrvRcvr
