#pragma once

#include "common/source/ChannelSettings.h"
#include "common/source/properties/AddedProperties.h"

#include <cstdint>
#include <string>
#include <vector>

// The text of the front end's properties file.

namespace Vx::Qrs::Trace::OrvRcvr {

/// Bytes of the capture buffer for an index into the settings' choices: 262144 for 0, doubling up to 134217728 for 9,
/// which also serves every greater index.
std::uint32_t bufferSizeBytes(std::uint32_t index);

/// "[Channel N]" and its eight keys, then the added ones, which replace a key of the eight.
std::string channelSectionText(std::uint32_t channelIndex, const VX_QRS::ORV::CLIENT::ChannelSettings& settings,
                               const std::vector<VX_QRS::ORV::CLIENT::AddedProperty>& added = {});

/// "[Global]" with the capture unit's address, and an empty line.
std::string globalSectionText(const std::string& unitName, std::uint32_t unitPort);

/// Path of the properties file for a settings file: its file name with ".xml" replaced by ".cfg", in `directory`.
std::string propertiesPathFor(const std::string& settingsPath, const std::string& directory);

} // namespace Vx::Qrs::Trace::OrvRcvr
