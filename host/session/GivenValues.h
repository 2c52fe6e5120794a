#pragma once

#include "host/session/Session.h"
#include "host/session/SessionResult.h"

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// Values of the pins' inputs that a program chooses itself, in a session that has calibrated.

namespace host {

/// What the unit holds for the pins in use, the clock's first: five lists of the same length.
struct PinValues {
    std::vector<unsigned> delays;
    std::vector<int> stretches;
    std::vector<unsigned> plateaus, debounces, filters;

    std::size_t pins() const { return delays.size(); }
    bool operator==(const PinValues&) const = default;
};

/// The values that a calibration has kept; nothing if its report does not name all of them.
std::optional<PinValues> valuesOf(const diagnosis::CalFile& report);

/// As properties of the channel: calMode=manual and the five lists.
std::vector<SetProperty> propertiesOf(const PinValues& values);

/// Other properties than the run's own during the object's life, in a file that VX_TRACE_PROPERTIES names, as by --set.
class OtherProperties {
public:
    /// `result` is what the session filled.
    OtherProperties(Session& session, const SessionResult& result);
    ~OtherProperties();
    OtherProperties(const OtherProperties&) = delete;
    OtherProperties& operator=(const OtherProperties&) = delete;

    /// The run's own with these in place of those of the same name. The receiver reads them at its next configuration.
    /// Throws Failure (OutputUnwritable).
    void use(const std::vector<SetProperty>& changed);

private:
    std::vector<SetProperty> own;
    std::filesystem::path file;
    std::string variable; ///< its value before
};

/// Sets the unit to given values during the object's life. Rate and settings of the channel stay those of the session's
/// last calibration. At the end the files of that calibration, which each set() replaces, are as they were; the unit holds
/// what was set last.
class GivenValues {
public:
    /// After a calibration of `session` that succeeded; `result` is what it filled. Throws Failure if the files cannot be
    /// read.
    GivenValues(Session& session, const SessionResult& result);
    ~GivenValues();
    GivenValues(const GivenValues&) = delete;
    GivenValues& operator=(const GivenValues&) = delete;

    /// Throws Failure; the unit may then hold other values than before.
    void set(const PinValues& values);

private:
    void restoreFiles() const;

    Session& used;
    std::string settings; ///< path of the channel settings file
    OtherProperties properties;
    std::vector<std::pair<std::filesystem::path, std::string>> kept;
};

} // namespace host
