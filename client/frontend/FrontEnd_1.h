#pragma once

#include "client/FrontEnd.h"
#include "client/frontend/Waits.h"
#include "common/source/source_utilities/PropertyParser.h"
#include "common/source/source_utilities/uDll.h"

#include <memory>
#include <string>
#include <vector>

namespace VX_QRS::ORV::CLIENT {

/// The unit's clocks. The unit samples at 4 x reference x multiplier / divider; its word clock is
/// reference x multiplier / (4 x divider).
struct PllSettings {
    double refFrequency = 50000000.0; ///< Hz
    double multiplier = 21.0;
    double divider = 3.0;
};

/// Makes and destroys the data client of a front end.
struct DataClientFactory {
    DataClient* (*create)(std::uint32_t port);
    void (*destroy)(DataClient* client);
};

/// The data server process.
DataClientFactory serverDataClient();

class FrontEnd_1 : public FrontEnd {
public:
    /// Reaches the data server (which takes up to some seconds) but does not address the unit.
    explicit FrontEnd_1(DataClientFactory factory = serverDataClient(), Waits& waits = systemWaits());
    ~FrontEnd_1() override;
    FrontEnd_1(const FrontEnd_1&) = delete;
    FrontEnd_1& operator=(const FrontEnd_1&) = delete;

    void setProperty(const char* name, const char* value) override;
    void getProperty(const char* name, const char** value) override;
    FrontEndChannel* alloc(const char* cpuName, Vx::Qrs::Trace::IXmtrLibrary* xmtrLibrary, std::uint32_t xmtrChannel,
                           std::uint32_t xmtrCookie, std::uint32_t adapterKind,
                           const ChannelSettings* traceSetup) override;
    void release(FrontEndChannel* channel) override;
    std::uint32_t numChannels() override;
    FrontEndChannel* getChannel(std::uint32_t index) override;
    DataClient* getDataClient() override;

    /// Connects to the unit named by the properties file and reads its clocks.
    void applySettings();
    const PllSettings& pll() const { return pllSettings; }
    Waits& waits() const { return waiting; }

private:
    void lookUp(const char* name, const char** value);
    void readPll();

    std::uint32_t maxChnls = 1; // number of channel sections of the properties file
    DataClientFactory clientFactory;
    DataClient* dataClient = nullptr;       // owned, destroyed through the factory
    std::string propertyText;               // storage of the text that getProperty returned
    std::string url = "0";                  // the unit as the data server knows it
    std::vector<FrontEndChannel*> channels; // owned; the index is not the channel's number once one was released
    PropertyParser* parser = nullptr;       // shared by the process
    std::unique_ptr<uDll> library;          // kept for the object's life, nothing is loaded by it
    PllSettings pllSettings;
    Waits& waiting;
};

} // namespace VX_QRS::ORV::CLIENT
