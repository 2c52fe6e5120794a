#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// The devices that the bench can simulate. They are in a text file, devices.toml, which users can extend; the comment
/// at its start describes the form.

namespace bench {

/// One part of a device as the identification library shows it. A plain core has a part name and no trace part.
struct DeviceEntry {
    std::string part;   ///< the entry's own name, for people only
    std::string parent; ///< name of the part that owns the trace part; empty: no owner
    std::string trace;  ///< name of the part that exports trace; empty: none
    /// Pin-out name and its assignments, in the form `kind=clock,bit 0,bit 1,...;kind=...`.
    std::vector<std::pair<std::string, std::string>> pinouts;
};

struct Device {
    std::string name; ///< the full CPU name
    std::string note; ///< one line for a person
    std::uint32_t cpuId = 0;
    bool reachable = true; ///< false: the target adapter finds no CPU of this name
    std::string unitName;  ///< the capture unit that the device is wired to
    std::string unitPort;  ///< its port, double quotes included where the file has them
    std::map<std::string, std::string, std::less<>> characteristics;
    std::vector<DeviceEntry> entries;
};

/// The file cannot be read or is malformed; what() names file, position and reason.
class DeviceDatabaseError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class DeviceDatabase {
public:
    /// Throws DeviceDatabaseError.
    static DeviceDatabase load(const std::filesystem::path& file);
    /// The file that ORV_BENCH_DEVICES names, otherwise devices.toml in the library's folder.
    static std::filesystem::path defaultFile();

    /// Exact name; null when unknown. Valid as long as the database.
    const Device* find(std::string_view name) const;
    const std::vector<Device>& all() const { return devices; }

private:
    std::vector<Device> devices;
};

} // namespace bench
