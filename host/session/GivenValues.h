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

/// Sets the unit to given values during the object's life, by the file that VX_TRACE_PROPERTIES names, as --set does.
/// Rate and settings of the channel stay those of the session's last calibration. At the end the variable and the files of
/// that calibration, which each set() replaces, are as they were at the beginning.
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
    void keepFiles();
    void restoreFiles() const;

    Session& used;
    std::string settings;                ///< path of the channel settings file
    std::vector<SetProperty> properties; ///< of the run
    std::filesystem::path file;          ///< of properties, made for this object
    std::string variable;                ///< its value before
    std::vector<std::pair<std::filesystem::path, std::string>> kept;
};

} // namespace host
