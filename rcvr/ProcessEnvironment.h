#pragma once

namespace Vx::Qrs::Trace::OrvRcvr {

/// Settles, once per process, the debug client's process identifier, the directories under the user's profile, their
/// variables and the log file's name; and opens the log at every call (a log of that name that is open is reused).
/// Throws when the user's profile is not known; the next call then tries again. One thread at a time.
void prepareProcessEnvironment();

} // namespace Vx::Qrs::Trace::OrvRcvr
