#pragma once

#include "common/source/ChannelSettings.h"

#include <string>

// The channel settings file: the user's side of a channel's configuration, XML of one section.

namespace Vx::Qrs::Trace::OrvRcvr {

/// Values that are copied from file to file and otherwise unused; shared by all channels, never reset.
extern bool g_noEmu0;
extern bool g_noEmu1;
extern std::string g_drmType;
extern std::string g_drmKey;

/// Fills the record. A file that is missing, damaged or inconsistent is replaced by defaults (see StoreSettings), and the
/// defaults are the result. `cpuName` is passed on to StoreSettings. Throws nothing.
void LoadSettings(VX_QRS::ORV::CLIENT::ChannelSettings& settings, const char* path, const char* cpuName);

/// Writes the file; keys of it that are unknown here survive. An existing file of other content is kept beside it as
/// "FILE.before-defaults" (".before-defaults.2" and so on where the name is taken), which the log names. A failure is
/// only logged and leaves the file unchanged: a file that cannot be kept is not replaced. `cpuName` is not used.
void StoreSettings(const VX_QRS::ORV::CLIENT::ChannelSettings& settings, const char* path, const char* cpuName);

/// Gives every field its default.
void SetDefaults(VX_QRS::ORV::CLIENT::ChannelSettings& settings);

} // namespace Vx::Qrs::Trace::OrvRcvr
