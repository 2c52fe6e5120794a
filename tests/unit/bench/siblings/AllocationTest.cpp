#include "bench/siblings/ExportProgram.h"
#include "rcvr/framework/IFileReplay.h"
#include "rcvr/framework/IPartIdentifier.h"
#include "rcvr/framework/ITargetAdapter.h"
#include "rcvr/framework/IXmtrLibrary.h"
#include "tests/support/allocation/MemoryShortage.h"
#include "tests/support/bench_run/Environment.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <cstddef>
#include <functional>
#include <string>

// Each allocation of a sibling library fails once: no exception leaves its exports, and the program continues.

extern "C" {
Vx::Qrs::Trace::IPartIdentifier* CreatePartIdentifier();
void DestroyPartIdentifier(Vx::Qrs::Trace::IPartIdentifier*, unsigned);
void NewTargetAdapter(const char*, Vx::Qrs::Trace::ITargetAdapter**);
void FreeTargetAdapter(Vx::Qrs::Trace::ITargetAdapter*);
Vx::Qrs::Trace::IXmtrLibrary* CreateXmtr(unsigned, unsigned);
void DestroyXmtr(Vx::Qrs::Trace::IXmtrLibrary*);
Vx::Qrs::Trace::IFileChannelDriver* CreateChannelDriver(const char*);
void DestroyChannelDriver(Vx::Qrs::Trace::IFileChannelDriver*);
Vx::Qrs::Trace::IFileDataSource* CreateDataSource(const char*);
void DestroyDataSource(Vx::Qrs::Trace::IFileDataSource*);
}

namespace bench {
namespace {

using bench_run::setVariable;
using test_support::MemoryShortage;
using Vx::Qrs::Trace::IPartIdentifier;

class FailingAllocation : public testing::Test {
protected:
    void SetUp() override {
        setVariable("ORV_BENCH_DEVICES", ORV_SOURCE_DIR "/bench/scenarios/devices.toml");
        setVariable("ORV_BENCH_SCENARIO", ORV_SOURCE_DIR "/bench/scenarios/bad-memory.toml");
        setVariable("ORV_BENCH_DIR", folder.path.string().c_str());
    }
    void TearDown() override {
        for (const char* name : {"ORV_BENCH_DEVICES", "ORV_BENCH_SCENARIO", "ORV_BENCH_DIR"}) {
            setVariable(name, "");
        }
    }

    /// Repeats the call, each time with the next allocation failing, until none fails, and checks each result. Returns
    /// how many failed.
    static std::size_t failEach(const std::function<void(bool spoilt)>& check, const std::function<void()>& call) {
        for (std::size_t number = 0;; ++number) {
            bool thrown = false;
            try {
                const MemoryShortage shortage(number, test_support::Shortage::oneBlock);
                call();
            } catch (...) {
                thrown = true;
            }
            const bool failed = MemoryShortage::hasRefused();
            EXPECT_FALSE(thrown) << "allocation " << number << " left the library as an exception";
            check(failed);
            if (!failed || thrown) {
                return number;
            }
        }
    }

    const test_support::TemporaryFolder folder;
};

TEST_F(FailingAllocation, TheDeviceIdentificationIsCompleteOrNull) {
    IPartIdentifier* made = nullptr;
    const std::size_t count = failEach(
        [&](bool spoilt) {
            EXPECT_EQ(made == nullptr, spoilt);
            if (made != nullptr) {
                DestroyPartIdentifier(made, 0);
            }
            made = nullptr;
        },
        [&] { made = CreatePartIdentifier(); });
    EXPECT_GT(count, 100U);
}

TEST_F(FailingAllocation, ADeviceHasAllEntriesOrNone) {
    std::size_t entries = 0;
    IPartIdentifier* made = CreatePartIdentifier();
    ASSERT_NE(made, nullptr);
    const std::size_t whole = made->getDeviceEntries("bench/app").size();
    const std::size_t count = failEach(
        [&](bool) {
            // A failure leaves no incomplete device for a later query.
            EXPECT_THAT(entries, testing::AnyOf(0U, whole));
            EXPECT_EQ(made->getDeviceEntries("bench/app").size(), whole);
            DestroyPartIdentifier(made, 0);
            made = CreatePartIdentifier();
        },
        [&] {
            entries = made->getDeviceEntries("bench/app").size();
            made->getDeviceText("bench/app", IPartIdentifier::eUnitPort);
        });
    DestroyPartIdentifier(made, 0);
    EXPECT_GT(count, 3U);
}

TEST_F(FailingAllocation, TheTargetAdapterIsCompleteOrNull) {
    Vx::Qrs::Trace::ITargetAdapter* made = nullptr;
    const std::size_t count = failEach(
        [&](bool spoilt) {
            EXPECT_EQ(made == nullptr, spoilt);
            if (made != nullptr) {
                FreeTargetAdapter(made);
            }
            made = nullptr;
        },
        [&] { NewTargetAdapter("bench/app", &made); });
    EXPECT_GT(count, 100U);
}

TEST_F(FailingAllocation, TheTransmitterLibraryIsCompleteOrNull) {
    Vx::Qrs::Trace::IXmtrLibrary* made = nullptr;
    const std::size_t count = failEach(
        [&](bool spoilt) {
            EXPECT_EQ(made == nullptr, spoilt);
            if (made != nullptr) {
                DestroyXmtr(made);
            }
            made = nullptr;
        },
        [&] { made = CreateXmtr(0, 0); });
    EXPECT_GT(count, 50U);
}

TEST_F(FailingAllocation, OperationsOfTheTransmitterLibraryFailWithACode) {
    Vx::Qrs::Trace::IXmtrLibrary* library = CreateXmtr(0, 0);
    ASSERT_NE(library, nullptr);
    int result = 0;
    const auto operation = [&](const std::function<int()>& call) {
        const std::size_t count = failEach(
            [&](bool spoilt) {
                if (spoilt) {
                    EXPECT_GT(result, 2);
                }
            },
            [&] { result = call(); });
        EXPECT_GT(count, 0U);
    };
    operation([&] { return library->releasePin(0, 9, 0); }); // its refusal allocates a text
    operation([&] { return library->allocatePin(0, 99, 0, 0, 0); });
    operation([&] { return library->flushBuffer(0); }); // without a server
    operation([&] { return library->setFunctionMode(0, 77); });
    DestroyXmtr(library);
}

TEST_F(FailingAllocation, ReplayObjectsAreCompleteOrNull) {
    Vx::Qrs::Trace::IFileChannelDriver* driver = nullptr;
    EXPECT_EQ(failEach([&](bool spoilt) { EXPECT_EQ(driver == nullptr, spoilt); },
                       [&] { driver = CreateChannelDriver("x"); }),
              1U);
    DestroyChannelDriver(driver);
    Vx::Qrs::Trace::IFileDataSource* source = nullptr;
    EXPECT_EQ(
        failEach([&](bool spoilt) { EXPECT_EQ(source == nullptr, spoilt); }, [&] { source = CreateDataSource("x"); }),
        1U);
    DestroyDataSource(source);
}

} // namespace
} // namespace bench
