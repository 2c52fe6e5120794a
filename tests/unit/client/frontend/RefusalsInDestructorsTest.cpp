#include "tests/unit/client/frontend/ChannelFixture.h"
#include "tests/unit/client/frontend/RefusingPlatform.h"
#include "tests/unit/client/transmitters/XmtrLibraryMock.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

// What is deleted while memory lacks. An exception that leaves a destructor ends the process, and this program with it.

namespace client_test {

namespace {

using testing::_;

/// Prepares and removes something again and again, each time with one more allocation of the removal granted, until
/// none is refused any more. Gives the number of removals that lacked memory.
unsigned removeUnderShortage(test_support::Shortage refusal, const std::function<void()>& prepare,
                             const std::function<void()>& remove, const std::function<void()>& afterShortage = {}) {
    for (unsigned nth = 1; nth < 1000; ++nth) {
        prepare();
        refuseMemory(nth, refusal);
        remove();
        if (!memoryWasRefused()) {
            return nth - 1;
        }
        if (afterShortage) {
            afterShortage();
        }
    }
    ADD_FAILURE() << "memory is asked for without end";
    return 0;
}

class DestructorsTest : public ChannelTest {
protected:
    const std::vector<std::string> suffixes{".bin", ".ver", ".cap.txt", ".reg.txt", ".cal.txt", ".trg.txt"};

    /// An open channel with diagnostic files of two stems.
    void prepareChannel() {
        remakeChannel();
        openChannel();
        inside().session().diagnosticStems = {stem + ".freq1"};
        for (const std::string& suffix : suffixes) {
            writeText(stem + suffix, "x");
            writeText(stem + ".freq1" + suffix, "x");
        }
    }

    unsigned filesLeft() {
        unsigned count = 0;
        for (const std::string& suffix : suffixes) {
            count += (exists(stem + suffix) ? 1u : 0u) + (exists(stem + ".freq1" + suffix) ? 1u : 0u);
        }
        return count;
    }

    testing::NiceMock<transmitter_test::MockXmtrLibrary> library;
};

} // namespace

TEST_F(DestructorsTest, AChannelGoesThoughMemoryLacksAndLeavesOnlyTheFileThatCouldNotBeNamed) {
    const unsigned shortages = removeUnderShortage(
        test_support::Shortage::oneBlock, [&] { prepareChannel(); }, [&] { channel.reset(); },
        [&] { EXPECT_LE(filesLeft(), 1u); });
    EXPECT_GE(shortages, 2 * suffixes.size());
    EXPECT_EQ(filesLeft(), 0u);
    remakeChannel();
}

TEST_F(DestructorsTest, AChannelGoesThoughMemoryLacksFromSomePointOn) {
    EXPECT_GE(removeUnderShortage(
                  test_support::Shortage::lasting, [&] { prepareChannel(); }, [&] { channel.reset(); }),
              2 * suffixes.size());
    EXPECT_EQ(filesLeft(), 0u);
    remakeChannel();
}

TEST_F(DestructorsTest, DeletingDiagnosticFilesForgetsTheStemsThoughMemoryLacks) {
    prepareChannel();
    refuseMemory(1, test_support::Shortage::lasting);
    EXPECT_NO_THROW(inside().deleteDiagnosticFiles());
    EXPECT_TRUE(memoryWasRefused());
    EXPECT_TRUE(inside().session().diagnosticStems.empty());
}

TEST_F(DestructorsTest, AChannelThatSharesItsTransmitterLeavesItsSettingsThereThoughMemoryLacks) {
    for (const test_support::Shortage refusal : {test_support::Shortage::oneBlock, test_support::Shortage::lasting}) {
        std::unique_ptr<ChannelSettings> setup;
        FrontEndChannel* first = nullptr;
        Transmitter* shared = nullptr;
        const auto prepare = [&] {
            setup = std::make_unique<ChannelSettings>();
            setup->stallCpu = true;
            setup->exportFrameSize = 7;
            first = frontEnd->alloc("some CPU", &library, 0, 0, 2, setup.get());
            shared = createTransmitter(frontEnd.get(), "some CPU", &library, 0, 0, 2, nullptr);
            first->setProperty("file", stem.c_str());
        };
        const auto programAndRemove = [&] {
            setup.reset();
            shared->setProperty("pins", "0,1");
            shared->setProperty("drmXmtr", "pti");
            ON_CALL(library, getExportFrameLimits)
                .WillByDefault(testing::DoAll(testing::SetArgPointee<2>(96u), testing::Return(0)));
            EXPECT_CALL(library, setStallCpu(_, true)).WillOnce(testing::Return(0)).RetiresOnSaturation();
            EXPECT_CALL(library, setCycleAccurate(_, true)).WillOnce(testing::Return(0)).RetiresOnSaturation();
            EXPECT_CALL(library, setExportFrameSize(_, 96)).WillOnce(testing::Return(0)).RetiresOnSaturation();
            shared->program("f0", 0);
            destroyTransmitter(shared);
        };
        EXPECT_GE(removeUnderShortage(refusal, prepare, [&] { frontEnd->release(first); }, programAndRemove), 1u);
        programAndRemove();
    }
}

TEST_F(DestructorsTest, AFrontEndGoesWithItsChannelsThoughMemoryLacks) {
    static RegisterModel unit;
    const DataClientFactory factory{[](std::uint32_t) -> VX_QRS::ORV::DataClient* { return &unit; },
                                    [](VX_QRS::ORV::DataClient*) {}};
    for (const test_support::Shortage refusal : {test_support::Shortage::oneBlock, test_support::Shortage::lasting}) {
        std::unique_ptr<FrontEnd_1> owner;
        const auto prepare = [&] {
            owner = std::make_unique<FrontEnd_1>(factory, waits);
            for (const char* name : {"external", "fpga", "some CPU"}) {
                owner->alloc(name, &library, 0, 0, 0, nullptr)->setProperty("file", stem.c_str());
            }
        };
        EXPECT_GE(removeUnderShortage(refusal, prepare, [&] { owner.reset(); }), 3 * suffixes.size());
    }
}

} // namespace client_test
