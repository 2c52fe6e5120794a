#include "pinmap/TracePinMapper.h"

#include "common/source/source_utilities/uString.h"
#include "pinmap/PinAssignment.h"
#include "pinmap/SiblingCall.h"
#include "rcvr/framework/IPartIdentifier.h"
#include "rcvr/framework/cZarnError.h"

namespace Vx::Qrs::Trace::OrvRcvr {

using VX_QRS::uString;
using Zarn::cZarnError;

namespace {

constexpr const char* pinoutGroup = "program.pinouts";
constexpr const char* blanks = " \t\r\n";

[[noreturn]] void failWith(const std::string& text) {
    throw cZarnError(text.c_str(), Zarn::eSeverityError);
}

// A database that violates its interface counts as corrupted.
template <class Pointer>
Pointer need(Pointer pointer) {
    if (pointer == nullptr) {
        throw std::runtime_error("null in device data base");
    }
    return pointer;
}

} // namespace

TracePinMapper::TracePinMapper() : library("PartIdentifier", -1) {}

TracePinMapper::~TracePinMapper() {
    if (database == nullptr) {
        return;
    }
    try {
        if (auto* destroy =
                reinterpret_cast<DestroyPartIdentifierFunction>(library.GetSymbol("DestroyPartIdentifier"))) {
            destroy(database, 0);
        }
    } catch (...) { // a destructor cannot report it
    }
}

void TracePinMapper::openDatabase() {
    if (database != nullptr) {
        return;
    }
    if (auto* create = reinterpret_cast<CreatePartIdentifierFunction>(library.GetSymbol("CreatePartIdentifier"))) {
        database = callSibling(create);
    }
}

void TracePinMapper::readDeviceDatabase(const char* deviceName) {
    const char* name = deviceName != nullptr ? deviceName : "";
    pinouts.clear();
    openDatabase();
    if (database == nullptr || !readEntries(name)) {
        failWith("This device is not supported by the receiver.");
    }
}

bool TracePinMapper::readEntries(const char* deviceName) {
    // Requesting a text makes the library load the device; the text itself is unused.
    const auto entries = callSibling([&] {
        database->getDeviceText(deviceName, IPartIdentifier::eDeviceName);
        return database->getDeviceEntries(deviceName);
    });
    bool found = false;
    try {
        for (IDeviceEntry* entry : entries) {
            IPart* tracePart = need(entry)->getTracePart();
            if (tracePart == nullptr) {
                continue;
            }
            if (!pinouts.empty()) {
                found = true;
                continue;
            }
            for (IPartProperty* property : tracePart->getProperties(pinoutGroup)) {
                const std::string pinoutName = need(need(property)->getName());
                for (const AssignmentField& field : splitAssignment(need(property->getValue()))) {
                    const PinList list = parsePinList(field.list);
                    if (!list.empty()) {
                        found = true;
                        pinouts[pinoutName][field.kind].push_back(list);
                    }
                    IPart* parent = entry->getParentPart();
                    ownerNames[field.kind] = need((parent != nullptr ? parent : tracePart)->getName());
                }
            }
        }
    } catch (...) {
        failWith(std::string("Invalid or corrupted trace device database for ") + deviceName);
    }
    return found;
}

void TracePinMapper::readPinMapFile(const char* path) {
    pinouts.clear();
    try {
        for (const PinoutText& text : readPinMapTexts(path)) {
            for (AssignmentField& field : splitAssignment(text.value)) {
                uString::trimLeft(field.list, blanks);
                uString::trimRight(field.list, blanks);
                const PinList list = parsePinList(field.list);
                if (!list.empty()) {
                    pinouts[text.pinout][field.kind].push_back(list);
                }
            }
        }
        if (pinouts.empty()) {
            throw std::runtime_error("no pins");
        }
    } catch (...) {
        std::string text = "Invalid or corrupted pin map file";
        if (path != nullptr) {
            text.append(" ").append(path);
        }
        failWith(text + ".");
    }
}

const std::string& TracePinMapper::getOwnerName(const std::string& kind) {
    return ownerNames[kind];
}

void TracePinMapper::getDataPinCounts(std::vector<std::uint32_t>& counts, const std::string& kind,
                                      const PinList& allowed) {
    counts.clear();
    for (std::uint32_t count = 1; count < allowed.size(); ++count) {
        PinGrants grants;
        std::string pinoutName;
        const PinRequests requests{{"", PinRequest{.kind = kind, .dataPins = count, .exact = true}}};
        if (findPinMapWithin(grants, pinoutName, requests, {}, allowed)) {
            counts.push_back(count);
        }
    }
}

bool TracePinMapper::findPinMap(PinGrants& grants, std::string& pinoutName, const PinRequests& requests,
                                const PinList& excluded) {
    return findPinMapWithin(grants, pinoutName, requests, excluded, {});
}

bool TracePinMapper::findPinMapWithin(PinGrants& grants, std::string& pinoutName, const PinRequests& requests,
                                      const PinList& excluded, const PinList& required) {
    return searchPinouts(grants, pinoutName, pinouts, ownerNames, requests, excluded, required);
}

} // namespace Vx::Qrs::Trace::OrvRcvr
