#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

// The properties of a channel: one row each, for the channel that has them, for the receiver that lets a user add them
// to its section, and for programs that check a user's text.

namespace VX_QRS::ORV::CLIENT {

struct ChannelProperty {
    enum class Value {
        Text,
        Words,      ///< one of `words`; the channel rejects others
        Unsigned,   ///< of 32 bits: decimal, "0x" hexadecimal, leading "0" octal
        Signed,     ///< the same with a sign
        Real,       ///< decimal
        BufferSize, ///< index of a size, or the size in bytes
        List,       ///< whole numbers separated by ",", one for each pin
    };

    const char* name;
    Value value = Value::Text;
    /// Words separated by "|". A Text with words has a meaning for these only, although the channel stores any.
    const char* words = nullptr;
    bool isReadOnly = false;
    /// For a property that a user must not set beside the channel settings file: the key that it follows from, empty for
    /// the name of the file. Null for the others.
    const char* follows = nullptr;
};

inline constexpr std::uint32_t smallestBufferBytes = 0x40000;
inline constexpr std::uint32_t largestBufferBytes = 0x8000000; ///< a power of two times the smallest
inline constexpr std::uint32_t bufferSizeCount = 10;

inline constexpr const char* trueOrFalse = "true|false";

inline constexpr auto channelProperties = std::to_array<ChannelProperty>({
    // Hosts look for the receiver's files by the name of the settings file.
    {.name = "file", .follows = ""},
    // The driver checks these against the device data base, and keeps them in its record of settings.
    {.name = "drmXmtr", .follows = "drm_xmtr"},
    {.name = "targetSync", .words = trueOrFalse},
    {.name = "startPort", .value = ChannelProperty::Value::Unsigned},
    {.name = "stmSyncPeriod", .value = ChannelProperty::Value::Unsigned},
    {.name = "stmTimeoutPeriod", .value = ChannelProperty::Value::Unsigned},
    {.name = "stmClockTimeoutEnable", .value = ChannelProperty::Value::Words, .words = trueOrFalse},
    {.name = "stmZeroTimeoutEnable", .value = ChannelProperty::Value::Words, .words = trueOrFalse},
    {.name = "stmPeriodicSyncEnable", .value = ChannelProperty::Value::Words, .words = trueOrFalse},
    {.name = "stmDiagnosticTimingEnable", .value = ChannelProperty::Value::Words, .words = trueOrFalse},
    {.name = "stm32BitDataLimit", .value = ChannelProperty::Value::Words, .words = trueOrFalse},
    {.name = "orvBufMode", .value = ChannelProperty::Value::Words, .words = "stop|wrap"},
    {.name = "orvBufHasWrapped", .isReadOnly = true},
    {.name = "orvBufSize", .value = ChannelProperty::Value::BufferSize},
    {.name = "orvBufSizes", .isReadOnly = true},
    {.name = "delays", .value = ChannelProperty::Value::List},
    {.name = "stretches", .value = ChannelProperty::Value::List},
    {.name = "plateaus", .value = ChannelProperty::Value::List},
    {.name = "debounces", .value = ChannelProperty::Value::List},
    {.name = "filters", .value = ChannelProperty::Value::List},
    {.name = "calMode", .value = ChannelProperty::Value::Words, .words = "automatic|manual"},
    {.name = "verifyCal", .value = ChannelProperty::Value::Words, .words = trueOrFalse},
    // Its default is not among the words: once replaced, it cannot be set again.
    {.name = "verifyPattern", .value = ChannelProperty::Value::Words, .words = "f0|a5|ramp|walk|lfsr"},
    {.name = "testPattern", .value = ChannelProperty::Value::Words, .words = "none|f0|a5|ramp|walk|lfsr"},
    {.name = "deskewStrategy", .value = ChannelProperty::Value::Words, .words = "clock|data"},
    {.name = "samplingPos", .value = ChannelProperty::Value::Words, .words = "detect|center|edge"},
    {.name = "ovsMargin", .value = ChannelProperty::Value::Signed},
    {.name = "archive", .value = ChannelProperty::Value::Unsigned},
    {.name = "cpi", .value = ChannelProperty::Value::Unsigned},
    {.name = "frequencyLimit", .value = ChannelProperty::Value::Real},
    {.name = "frequencies", .isReadOnly = true},
    {.name = "numPins", .value = ChannelProperty::Value::Unsigned, .follows = "num_pins"},
    {.name = "pinMap", .follows = "pin_map"},
    {.name = "propsFile", .follows = ""},
});

/// Null for an unknown name. Names are compared exactly.
constexpr const ChannelProperty* findChannelProperty(std::string_view name) {
    for (const ChannelProperty& property : channelProperties) {
        if (name == property.name) {
            return &property;
        }
    }
    return nullptr;
}

/// Whether `value` is one of the words, which bars separate.
constexpr bool isOneOf(std::string_view words, std::string_view value) {
    while (!words.empty()) {
        const std::size_t end = words.find('|');
        if (words.substr(0, end) == value) {
            return true;
        }
        if (end == std::string_view::npos) {
            break;
        }
        words.remove_prefix(end + 1);
    }
    return false;
}

} // namespace VX_QRS::ORV::CLIENT
