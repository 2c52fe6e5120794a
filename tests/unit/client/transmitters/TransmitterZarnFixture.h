#pragma once

#include "client/transmitters/TransmitterZarn_1.h"
#include "tests/unit/client/transmitters/TransmitterSupport.h"

#include <memory>

namespace transmitter_test {

/// A target's transmitter over a library that refuses every call that a test does not expect.
class TransmitterZarnTest : public testing::Test {
protected:
    static constexpr unsigned channel = 9;

    std::unique_ptr<TransmitterZarn_1> make(std::uint32_t adapterKind = 0, const ChannelSettings* setup = nullptr) {
        return std::make_unique<TransmitterZarn_1>(&frontEnd, "cpu", &library, 1234, channel, adapterKind, setup);
    }

    /// The library says that the channel is of a kind, and settings are applied.
    void open(TransmitterZarn_1& transmitter, unsigned kind) {
        EXPECT_CALL(library, getTransmitterKind(channel, testing::_))
            .WillOnce(testing::DoAll(testing::SetArgPointee<1>(kind), testing::Return(0)))
            .RetiresOnSaturation();
        EXPECT_CALL(library, closeChannel(channel)).Times(testing::AnyNumber());
        transmitter.applySettings();
    }

    FrontEndStub frontEnd;
    testing::StrictMock<MockXmtrLibrary> library;
    PropertiesFile properties{"[Global]\norv=unit7\n"};
};

} // namespace transmitter_test
