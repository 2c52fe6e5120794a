#pragma once

#include "client/Transmitter.h"
#include "common/source/source_utilities/PropertyParser.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace VX_QRS::ORV::CLIENT {

/// The source unit that exceptions and log lines of all transmitters name.
inline constexpr const char* transmitterUnit = "orv_client_transmitter";

// Export kinds.
inline constexpr const char* exportPti = "pti";
inline constexpr const char* exportTpiu = "tpiu";
inline constexpr const char* exportTpiulite = "tpiulite";
inline constexpr const char* exportTrace = "trace"; ///< its "f0" looks like the pattern "ff0"

// Names that patterns have once a transmitter has translated what it was asked for.
inline constexpr const char* patternNone = "none";
inline constexpr const char* patternF0 = "f0";
inline constexpr const char* patternFF0 = "ff0";
inline constexpr const char* patternA5 = "a5";
inline constexpr const char* patternWalk = "walk";
inline constexpr const char* patternLfsr = "lfsr";
inline constexpr const char* patternRampFrom0 = "ramp0";
inline constexpr const char* patternRampFrom1 = "ramp1";

/// An external signal that is not controlled from here; base of the controlled transmitters.
class TransmitterBase_1 : public Transmitter {
public:
    /// Throws eNULL without a front end. `frontEnd` is not owned.
    TransmitterBase_1(FrontEnd* frontEnd, std::uint32_t xmtrChannel);
    TransmitterBase_1(const TransmitterBase_1&) = delete;
    TransmitterBase_1& operator=(const TransmitterBase_1&) = delete;
    ~TransmitterBase_1() override;

    /// `drmXmtr`, `pins`, `xmtrType`, `numPins`, `xmtrMode`. Throws eNAME for others, eVALUE for an empty item
    /// among the pins; the preceding pins stay.
    void setProperty(const char* name, const char* value) override;
    /// `drmXmtr`, `xmtrType`, `numPins`.
    void getProperty(const char* name, const char** value) override;
    /// Reads the Global section of the properties file.
    void applySettings() override;
    void program(const char* name, std::uint32_t frequencySetting) override;
    void end(bool flag) override;
    void flush() override;
    void shutdown() override;
    void reset() override;
    std::uint32_t numFrequencySettings() override;
    bool hasTriggered() override;
    Pattern* getPattern() override;

protected:
    /// Makes `pattern` follow `progName`.
    void updatePattern();
    /// 0 without pins.
    std::uint32_t numDataPins() const;

    FrontEnd* frontEnd;
    std::vector<std::uint32_t> pins; // EMU pins, the clock's first
    std::string drmXmtr;             // export kind
    std::string xmtrType;
    std::string progName; // of the pattern now set
    std::string numPins;  // as text
    std::string xmtrMode;
    std::uint32_t xmtrChannel; // of this channel in the transmitter library
    std::uint32_t channelNumber;
    bool dirty = true;                // a property changed since settings were last applied
    std::unique_ptr<Pattern> pattern; // what the present program is expected to look like
    PropertyParser* parser;           // shared and counted
};

} // namespace VX_QRS::ORV::CLIENT
