#pragma once

#include "bench/siblings/DeviceDatabase.h"
#include "rcvr/framework/IPartIdentifier.h"

#include <memory>
#include <vector>

namespace bench {

/// Device identification over the bench's data base. All objects that it gives out are its own and live with it.
/// Throws nothing: without memory a device has no entries and no texts, and an entry's part no properties.
/// One thread at a time.
class PartIdentifier : public Vx::Qrs::Trace::IPartIdentifier {
public:
    explicit PartIdentifier(DeviceDatabase data);
    ~PartIdentifier() override;

    std::vector<Vx::Qrs::Trace::IDeviceEntry*> getDeviceEntries(const char* deviceName) override;
    const char* getDeviceText(const char* deviceName, unsigned selector) override;

private:
    struct Shown;
    /// Made completely, or not at all if memory runs out.
    Shown& shownFor(const Device& device);

    DeviceDatabase base;
    std::vector<std::unique_ptr<Shown>> shown; ///< made when a device is first asked for
    std::string text;
};

} // namespace bench
