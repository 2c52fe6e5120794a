#include "client/transmitters/TransmitterFactory.h"
#include "client/transmitters/TransmitterFpga_1.h"
#include "client/transmitters/TransmitterZarn_1.h"
#include "tests/unit/client/transmitters/TransmitterSupport.h"

#include <algorithm>
#include <cstddef>
#include <memory>

namespace transmitter_test {

using testing::_;
using testing::DoAll;
using testing::Return;
using testing::SetArgPointee;

namespace {

constexpr std::uint32_t xmtrChannel = 3;
constexpr std::uint32_t xmtrCookie = 8;

class TransmitterFactoryTest : public testing::Test {
protected:
    Transmitter* create(const char* name, const ChannelSettings* setup = nullptr, std::uint32_t kind = 0) {
        return createTransmitter(&frontEnd, name, &library, xmtrChannel, xmtrCookie, kind, setup);
    }

    FrontEndStub frontEnd;
    testing::NiceMock<MockXmtrLibrary> library;
};

/// How often destructors ran.
std::ptrdiff_t destructions(const LogCapture& log) {
    const auto functions = log.functions();
    return std::count(functions.begin(), functions.end(), "TransmitterBase_1::~TransmitterBase_1");
}

} // namespace

TEST_F(TransmitterFactoryTest, ANullNameFails) {
    expectFailure([&] { create(nullptr); }, eNULL, "");
}

TEST_F(TransmitterFactoryTest, TheNameChoosesTheClassExactly) {
    Transmitter* const fpga = create("fpga");
    EXPECT_NE(dynamic_cast<TransmitterFpga_1*>(fpga), nullptr);
    Transmitter* const external = create("external");
    EXPECT_EQ(typeid(*external), typeid(TransmitterBase_1));
    for (const char* name : {"Fpga", "FPGA", "External", "fpga ", "", "Cortex_0"}) {
        Transmitter* const target = create(name);
        EXPECT_NE(dynamic_cast<TransmitterZarn_1*>(target), nullptr) << name;
        destroyTransmitter(target);
    }
    destroyTransmitter(fpga);
    destroyTransmitter(external);
}

TEST_F(TransmitterFactoryTest, ATargetTalksOnItsChannelNotOnItsCookie) {
    Transmitter* const target = create("cpu");
    EXPECT_CALL(library, shutdownPort(xmtrChannel));
    target->shutdown();
    destroyTransmitter(target);
}

TEST_F(TransmitterFactoryTest, OneNameIsOneObjectThatDiesWithItsLastUser) {
    const LogCapture log;
    Transmitter* const first = create("cpu");
    Transmitter* const second = create("cpu");
    Transmitter* const other = create("cpu2");
    EXPECT_EQ(first, second);
    EXPECT_NE(first, other);
    destroyTransmitter(first);
    EXPECT_EQ(destructions(log), 0);
    EXPECT_CALL(library, shutdownPort(xmtrChannel));
    second->shutdown();
    destroyTransmitter(second);
    EXPECT_EQ(destructions(log), 1);
    destroyTransmitter(other);
    EXPECT_EQ(destructions(log), 2);
}

TEST_F(TransmitterFactoryTest, AfterTheLastUserTheNameMakesANewObject) {
    Transmitter* const first = create("fpga");
    first->setProperty("xmtrType", "marked");
    destroyTransmitter(first);
    Transmitter* const second = create("fpga");
    EXPECT_EQ(get(*second, "xmtrType"), "fpga");
    destroyTransmitter(second);
}

TEST_F(TransmitterFactoryTest, UnknownPointersAreIgnored) {
    Transmitter* const known = create("external");
    TransmitterBase_1 stranger(&frontEnd, 0);
    destroyTransmitter(nullptr);
    destroyTransmitter(&stranger);
    known->flush();
    destroyTransmitter(known);
    destroyTransmitter(known); // gone, and only a number by now
}

TEST_F(TransmitterFactoryTest, AFailedConstructionLeavesNoEntry) {
    expectFailure([&] { createTransmitter(nullptr, "external", nullptr, 0, 0, 0, nullptr); }, eNULL, "");
    Transmitter* const made = create("external");
    const LogCapture log;
    destroyTransmitter(made);
    EXPECT_EQ(destructions(log), 1);
}

TEST_F(TransmitterFactoryTest, AnEntryStartsWithOneUser) {
    const RefCountedXmtrImpl entry(&frontEnd, "external", nullptr, xmtrChannel, xmtrCookie, 0, nullptr);
    EXPECT_EQ(entry.name, "external");
    EXPECT_EQ(entry.refCount, 1u);
    EXPECT_NE(entry.xmtr, nullptr);
}

TEST_F(TransmitterFactoryTest, TheSharedParserLivesAsLongAsItsUsers) {
    PropertyParser* parser = createPropertyParser();
    Transmitter* const made = create("external");
    destroyPropertyParser(parser);
    Transmitter* const another = create("fpga");
    destroyTransmitter(made);
    destroyTransmitter(another);
    parser = createPropertyParser();
    EXPECT_EQ(parser->getFileName(), nullptr);
    destroyPropertyParser(parser);
}

// ---- settings of a channel that goes first ----

namespace {

class TransmitterFactorySetupTest : public TransmitterFactoryTest {
protected:
    TransmitterFactorySetupTest() {
        ON_CALL(library, getTransmitterKind).WillByDefault(DoAll(SetArgPointee<1>(1u), Return(0)));
    }
    /// Expects that programming hands on these flags.
    void expectFlags(Transmitter& transmitter, bool stall, bool cprt) {
        EXPECT_CALL(library, setStallCpu(_, stall));
        EXPECT_CALL(library, setMonitorCprt(_, cprt));
        transmitter.program("f0", 0);
        testing::Mock::VerifyAndClearExpectations(&library);
        ON_CALL(library, getTransmitterKind).WillByDefault(DoAll(SetArgPointee<1>(1u), Return(0)));
    }
    Transmitter* open(const ChannelSettings* setup) {
        Transmitter* const made = create("cpu", setup, 2);
        made->applySettings();
        made->setProperty("pins", "0,1");
        return made;
    }

    PropertiesFile properties{"[Global]\norv=unit7\n"};
};

} // namespace

TEST_F(TransmitterFactorySetupTest, TheFirstUsersSettingsServeAll) {
    ChannelSettings first;
    first.stallCpu = true;
    ChannelSettings second;
    second.monitorCprt = true;
    Transmitter* const transmitter = open(&first);
    open(&second);
    expectFlags(*transmitter, true, false);
    destroyTransmitter(transmitter, &second);
    destroyTransmitter(transmitter, &first);
}

TEST_F(TransmitterFactorySetupTest, WhenTheFirstUserGoesItsLastSettingsStay) {
    auto first = std::make_unique<ChannelSettings>();
    ChannelSettings second;
    second.monitorCprt = true;
    Transmitter* const transmitter = open(first.get());
    open(&second);
    first->stallCpu = true;
    destroyTransmitter(transmitter, first.get());
    first.reset();
    expectFlags(*transmitter, true, false);
    destroyTransmitter(transmitter, &second);
}

TEST_F(TransmitterFactorySetupTest, WhenAnotherUserGoesTheFirstOnesSettingsAreStillRead) {
    ChannelSettings first;
    auto second = std::make_unique<ChannelSettings>();
    Transmitter* const transmitter = open(&first);
    open(second.get());
    destroyTransmitter(transmitter, second.get());
    second.reset();
    first.stallCpu = true;
    expectFlags(*transmitter, true, false);
    destroyTransmitter(transmitter, &first);
}

TEST_F(TransmitterFactorySetupTest, WhenSomeUserGoesWhoseSettingsAreUnknownACopyIsKept) {
    auto first = std::make_unique<ChannelSettings>();
    const ChannelSettings second;
    Transmitter* const transmitter = open(first.get());
    open(&second);
    first->monitorCprt = true;
    destroyTransmitter(transmitter);
    first.reset();
    expectFlags(*transmitter, false, true);
    destroyTransmitter(transmitter);
}

} // namespace transmitter_test
