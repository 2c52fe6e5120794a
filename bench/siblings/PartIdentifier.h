#pragma once

#include "bench/siblings/DeviceDatabase.h"
#include "rcvr/framework/IPartIdentifier.h"

#include <memory>
#include <vector>

namespace bench {

/// Device identification over the bench's database. Owns all objects that it returns. Throws nothing: when memory runs
/// out, a device has no entries and no texts, and an entry's part no properties.
/// One thread at a time.
class PartIdentifier : public Vx::Qrs::Trace::IPartIdentifier {
public:
    explicit PartIdentifier(DeviceDatabase data);
    ~PartIdentifier() override;

    std::vector<Vx::Qrs::Trace::IDeviceEntry*> getDeviceEntries(const char* deviceName) override;
    const char* getDeviceText(const char* deviceName, unsigned selector) override;

private:
    struct Shown;
    /// Complete, or null if memory runs out.
    Shown& shownFor(const Device& device);

    DeviceDatabase base;
    std::vector<std::unique_ptr<Shown>> shown; ///< created at a device's first query
    std::string text;
};

} // namespace bench
