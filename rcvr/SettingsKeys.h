#pragma once

#include "common/source/ChannelSettings.h"

#include <cstdint>
#include <span>
#include <string>
#include <variant>
#include <vector>

// The keys of a channel settings file: one row each, from which reading, defaults, writing and the channel's section of
// the properties file follow.

namespace Vx::Qrs::Trace::OrvRcvr {

struct SettingsKey {
    using Settings = VX_QRS::ORV::CLIENT::ChannelSettings;
    /// A field of the record, whose initial value is the default; a value that is only carried along; or a fixed text.
    using Value = std::variant<bool Settings::*, std::uint32_t Settings::*, std::string Settings::*, bool*,
                               std::string*, const char*>;
    enum class Missing {
        IsAFailure,         ///< the file is replaced by defaults
        ResetsTargetExport, ///< all keys of this kind take their defaults
    };

    const char* key;
    Value value;
    /// Order of reading, from 1, which decides the key that an error names. 0 for a key that is written only.
    unsigned readTurn = 0;
    Missing missing = Missing::IsAFailure;
    /// The key whose text is read, where that is another one.
    const char* readKey = nullptr;
    /// The channel's property, null for none; its line in the section, from 1; its text, null for that of the value.
    const char* property = nullptr;
    unsigned sectionTurn = 0;
    std::string (*propertyText)(const Settings&) = nullptr;
};

/// All keys in the order in which they are written.
std::span<const SettingsKey> settingsKeys();

/// The keys with such a turn, in its order.
std::vector<const SettingsKey*> settingsKeysBy(unsigned SettingsKey::* turn);

/// The value as the settings file and the properties file have it.
std::string valueText(const SettingsKey::Value& value, const SettingsKey::Settings& settings);

} // namespace Vx::Qrs::Trace::OrvRcvr
