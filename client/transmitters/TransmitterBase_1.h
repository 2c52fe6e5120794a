#pragma once

#include "client/Transmitter.h"
#include "common/source/source_utilities/PropertyParser.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace VX_QRS::ORV::CLIENT {

/// The source unit that transmitter failures and log lines name.
inline constexpr char transmitterUnit[] = "orv_client_transmitter";

/// A signal that comes from elsewhere and that nothing here controls, and the base of the transmitters that do. Every
/// operation succeeds and does nothing unless told otherwise.
class TransmitterBase_1 : public Transmitter {
public:
    /// `front` is not owned and must not be null. `channel` is this channel's handle in the transmitter library.
    TransmitterBase_1(FrontEnd* front, std::uint32_t channel);
    ~TransmitterBase_1() override;
    TransmitterBase_1(const TransmitterBase_1&) = delete;
    TransmitterBase_1& operator=(const TransmitterBase_1&) = delete;

    void setProperty(const char* name, const char* value) override;
    void getProperty(const char* name, const char** value) override;
    void applySettings() override;
    void program(const char* name, std::uint32_t frequencySetting) override;
    void end(bool flag) override;
    void flush() override;
    void shutdown() override;
    void reset() override;
    std::uint32_t numFrequencySettings() override;
    bool hasTriggered() override;
    Pattern* getPattern() override;

    /// The users of a shared transmitter change; one of them may own what another still needs. See TransmitterZarn_1.
    virtual void userLeaves() {}

protected:
    /// Makes the expected-data model of `progName`.
    void updatePattern();
    /// Data pins now set; 0 when there are none.
    std::uint32_t numDataPins() const;

    FrontEnd* frontEnd;
    std::vector<std::uint32_t> pins; // EMU pins, clock first
    std::string drmXmtr; // export kind
    std::string xmtrType;
    std::string progName; // the pattern now set
    std::string numPins; // text of the property
    std::string xmtrMode; // "pause" or anything else
    std::uint32_t xmtrChannel;
    std::uint32_t channelNumber;
    bool dirty = true; // a property changed since the last applySettings
    std::unique_ptr<Pattern> pattern;
    PropertyParser* parser; // shared by the process
};

} // namespace VX_QRS::ORV::CLIENT
