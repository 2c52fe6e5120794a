#pragma once

#include "client/FrontEnd.h"
#include "client/FrontEndChannel.h"
#include "tests/support/transmitter/IdleXmtrLibrary.h"

#include <gmock/gmock.h>

#include <functional>
#include <map>
#include <string>

// Stand-ins of the front end, its channels and the transmitter library, and of the two functions that give and take the
// front end.

namespace rcvr_test {

namespace client = VX_QRS::ORV::CLIENT;

/// What createFrontEnd gives and what happened to it.
struct FrontEndSource {
    client::FrontEnd* frontEnd = nullptr;
    std::function<void()> onCreate;
    std::function<void()> onDestroy;
    int created = 0;
    int destroyed = 0;
};
FrontEndSource& frontEndSource();

class MockChannel : public client::FrontEndChannel {
public:
    MOCK_METHOD(void, setProperty, (const char*, const char*), (override));
    MOCK_METHOD(void, applySettings, (), (override));
    MOCK_METHOD(void, calibrate, (), (override));
    MOCK_METHOD(void, start, (bool), (override));
    MOCK_METHOD(void, stop, (), (override));
    MOCK_METHOD(void, endTransmission, (bool), (override));
    MOCK_METHOD(void, status, (client::ChannelMetrics&), (override));
    MOCK_METHOD(std::uint32_t, ovs, (bool, bool), (override));
    MOCK_METHOD(void, asked, (const std::string&));

    /// Answers from `properties`; an unknown name fails as the real channel does.
    void getProperty(const char* name, const char** value) override;

    std::map<std::string, std::string> properties;
    client::ChannelMetrics metrics; ///< what status gives unless a test says otherwise
    bool nullProperties = false;    ///< gives null pointers for all

    MockChannel();
};

class MockFrontEnd : public client::FrontEnd {
public:
    MOCK_METHOD(void, setProperty, (const char*, const char*), (override));
    MOCK_METHOD(client::FrontEndChannel*, alloc,
                (const char*, Vx::Qrs::Trace::IXmtrLibrary*, std::uint32_t, std::uint32_t, std::uint32_t,
                 const client::ChannelSettings*),
                (override));
    MOCK_METHOD(void, release, (client::FrontEndChannel*), (override));
    MOCK_METHOD(std::uint32_t, numChannels, (), (override));
    MOCK_METHOD(client::FrontEndChannel*, getChannel, (std::uint32_t), (override));
    MOCK_METHOD(VX_QRS::ORV::DataClient*, getDataClient, (), (override));

    void getProperty(const char* name, const char** value) override;

    std::string maxChannels = "1";
    bool failing = false; ///< getProperty throws
};

/// Only the trace class is asked for here.
class FakeXmtrLibrary : public test_support::IdleXmtrLibrary {
public:
    unsigned kind = 1;
    unsigned askedCookie = 0;

    int getTransmitterKind(unsigned cookie, unsigned* out) override {
        askedCookie = cookie;
        *out = kind;
        return 0;
    }
};

} // namespace rcvr_test
