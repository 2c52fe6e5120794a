#include "bench/siblings/DeviceDatabase.h"
#include "bench/siblings/PartIdentifier.h"
#include "bench/siblings/TargetAdapter.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <cstdlib>

namespace bench {
namespace {

using testing::HasSubstr;
using Vx::Qrs::Trace::IPartIdentifier;

DeviceDatabase delivered() {
    return DeviceDatabase::load(std::filesystem::path(ORV_SOURCE_DIR) / "bench" / "scenarios" / "devices.toml");
}

/// The CPU's class as the receiver gets it from the identifier.
unsigned classOf(std::uint32_t id) {
    if (id >> 22 == 470) {
        return (id >> 10 & 0xFFF) == 38 ? 3 : 2;
    }
    return id >> 22 == 320 ? 1 : 0;
}

unsigned classOfCpu(const char* name) {
    const DeviceDatabase base = delivered();
    TargetAdapter adapter(base, name);
    EXPECT_STREQ(adapter.getCpuName(), name);
    EXPECT_NE(adapter.getCpuInfo(), nullptr);
    return adapter.getCpuInfo() != nullptr ? classOf(adapter.getCpuInfo()->getCpuId()) : 99;
}

TEST(Devices, EveryClassOfCpuExists) {
    EXPECT_EQ(classOfCpu("bench/app"), 2U);
    EXPECT_EQ(classOfCpu("bench/control"), 3U);
    EXPECT_EQ(classOfCpu("bench/signal"), 1U);
    EXPECT_EQ(classOfCpu("bench/plain"), 0U);
    EXPECT_EQ(classOfCpu("fpga"), 0U);
}

TEST(Devices, UnknownAndUnreachableCpusHaveNoInformation) {
    const DeviceDatabase base = delivered();
    EXPECT_EQ(TargetAdapter(base, "bench/unreachable").getCpuInfo(), nullptr);
    EXPECT_EQ(TargetAdapter(base, "unknown").getCpuInfo(), nullptr);
}

TEST(Identifier, PinOutsServeEveryKindAndWidth) {
    PartIdentifier identifier(delivered());
    std::string all;
    unsigned traceParts = 0;
    for (auto* entry : identifier.getDeviceEntries("bench/app")) {
        if (entry->getTracePart() == nullptr) {
            continue;
        }
        ++traceParts;
        for (auto* property : entry->getTracePart()->getProperties("program.pinouts")) {
            all += std::string(property->getValue()) + ";";
        }
        EXPECT_TRUE(entry->getTracePart()->getProperties("another.group").empty());
        ASSERT_NE(entry->getParentPart(), nullptr);
        EXPECT_STREQ(entry->getParentPart()->getName(), "debug subsystem");
    }
    EXPECT_EQ(traceParts, 1U);
    for (const char* kind : {"pti", "tpiu", "tpiulite"}) {
        for (const char* pins : {"=0,1;", "=0,1,2;", "=0,1,2,3,4;"}) {
            EXPECT_THAT(all, HasSubstr(std::string(kind) + pins));
        }
    }
}

TEST(Identifier, TheSecondQueryReturnsTheSameObjects) {
    PartIdentifier identifier(delivered());
    EXPECT_EQ(identifier.getDeviceEntries("bench/app"), identifier.getDeviceEntries("bench/app"));
}

TEST(Identifier, TheUnitsPortHasDoubleQuotes) {
    PartIdentifier identifier(delivered());
    EXPECT_STREQ(identifier.getDeviceText("bench/app", IPartIdentifier::eUnitName), "bench");
    EXPECT_STREQ(identifier.getDeviceText("bench/app", IPartIdentifier::eUnitPort), "\"0\"");
    EXPECT_STREQ(identifier.getDeviceText("bench/app", IPartIdentifier::eDeviceName), "bench/app");
    EXPECT_STREQ(identifier.getDeviceText("bench/app", 17), "");
    EXPECT_STREQ(identifier.getDeviceText("unknown", IPartIdentifier::eUnitName), "");
    EXPECT_STREQ(identifier.getDeviceText(nullptr, IPartIdentifier::eUnitName), "");
}

TEST(Identifier, CharacteristicsAreTextsAndUnknownOnesEmpty) {
    PartIdentifier identifier(delivered());
    auto* device = identifier.getDeviceEntries("bench/app").front()->getDevice();
    EXPECT_STREQ(device->getCharacteristic("DEV_CHAR_ATB_STP_VERSION"), "1");
    EXPECT_STREQ(device->getCharacteristic("other"), "");
    device = identifier.getDeviceEntries("bench/control").front()->getDevice();
    EXPECT_STREQ(device->getCharacteristic("DEV_CHAR_ATB_STP_VERSION"), "");
}

TEST(Identifier, AnUnknownDeviceHasNoEntries) {
    PartIdentifier identifier(delivered());
    EXPECT_TRUE(identifier.getDeviceEntries("unknown").empty());
    EXPECT_TRUE(identifier.getDeviceEntries(nullptr).empty());
}

std::string loadFailure(const std::string& text) {
    const test_support::TemporaryFolder folder;
    try {
        DeviceDatabase::load(folder.write("d.toml", text));
    } catch (const DeviceDatabaseError& error) {
        return error.what();
    }
    return "loaded";
}

TEST(DeviceFile, DamageIsReportedWithLineAndReason) {
    EXPECT_THAT(loadFailure("[[device]\n"), HasSubstr("d.toml:1: "));
    EXPECT_THAT(loadFailure("\n \u00E4 = 1\n"), HasSubstr("d.toml:2:2: a character beyond ASCII must be"));
    EXPECT_THAT(loadFailure("x = 1\n"), HasSubstr("no [[device]] in it"));
    EXPECT_THAT(loadFailure("[[device]]\nnote = \"n\"\n"), HasSubstr("a device needs a name"));
    EXPECT_THAT(loadFailure("[[device]]\nname = \"a\"\ncpu_id = -1\n"), HasSubstr("d.toml:3: 'cpu_id' must be"));
    EXPECT_THAT(loadFailure("[[device]]\nname = \"a\"\n[[device.entry]]\npinouts = \"none\"\n"),
                HasSubstr("there is no table [pinouts.none]"));
}

TEST(DeviceFile, TheEnvironmentCanNameAnother) {
#ifdef _WIN32
    _putenv_s("ORV_BENCH_DEVICES", "other.toml");
#else
    setenv("ORV_BENCH_DEVICES", "other.toml", 1);
#endif
    EXPECT_EQ(DeviceDatabase::defaultFile(), "other.toml");
#ifdef _WIN32
    _putenv_s("ORV_BENCH_DEVICES", "");
#else
    unsetenv("ORV_BENCH_DEVICES");
#endif
    EXPECT_EQ(DeviceDatabase::defaultFile().filename(), "devices.toml");
    EXPECT_TRUE(DeviceDatabase::defaultFile().is_absolute());
}

} // namespace
} // namespace bench
