#include "tests/road/Orvtrace.h"

#include <gmock/gmock.h>

#include <regex>

// Installations that lack a part end in the system's own words and with exit code 4.

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
namespace fs = std::filesystem;

Outcome recordWithout(const RunSpace& space, const std::string& missing) {
    return space.record("one-pin", {}, copyOfInstallation(space.file("installed"), missing));
}

TEST(MissingParts, TheReceiverLibraryIsNamed) {
    const RunSpace space;
    const Outcome run = recordWithout(space, "OrvRcvr");
    EXPECT_EQ(run.code, 4);
    EXPECT_THAT(run.errors, HasSubstr("cannot load "));
}

/// The failure names the receiver's log, which has more and is kept.
void expectLogOf(const Outcome& run) {
    static const std::regex place("\\(log: ([^)]*)\\)");
    std::smatch found;
    ASSERT_TRUE(std::regex_search(run.errors, found, place)) << run.errors;
    EXPECT_THAT(readBytes(found[1].str()), Not(IsEmpty())) << found[1];
    EXPECT_EQ(run.json.at("files").at("log"), found[1].str());
}

TEST(MissingParts, TheServerCannotBeStarted) {
    const RunSpace space;
    const Outcome run = recordWithout(space, "mpx_ecom_server");
    EXPECT_EQ(run.code, 4);
    EXPECT_THAT(run.errors, HasSubstr("data server failure : failed to connect to data server"));
    expectLogOf(run);
}

TEST(MissingParts, AServerThatEndsAtOnceIsQuoted) {
    const RunSpace space;
    const auto scenario = space.write("brief.toml", "cpu = \"bench/app\"\n[faults]\nexit_at_start = true\n");
    const Outcome run = space.record(scenario.string());
    EXPECT_EQ(run.code, 4);
    EXPECT_THAT(run.errors, HasSubstr("failed to connect to data server; the data server said: ending at once, as the "
                                      "scenario says (log: "));
    EXPECT_EQ(lines(withoutProgress(run.errors)), 1U) << run.errors;
    expectLogOf(run);
}

TEST(MissingParts, ASoakNeedsTheServerToo) {
    const RunSpace space;
    const Outcome run = space.run({"soak", "--json", "--rounds", "1", "--out", space.file("run").string()},
                                  copyOfInstallation(space.file("installed"), "mpx_ecom_server"));
    EXPECT_EQ(run.code, 4);
    EXPECT_EQ(run.json.at("outcome"), "no-system");
    EXPECT_EQ(run.json.at("rounds"), 0);
    EXPECT_THAT(run.json.at("error").at("text").get<std::string>(), HasSubstr("failed to connect to data server"));
}

TEST(MissingParts, DeviceIdentificationIsRequired) {
    const RunSpace space;
    const Outcome run = recordWithout(space, "PartIdentifier");
    EXPECT_EQ(run.code, 4);
    EXPECT_THAT(run.errors, HasSubstr("dll load failure : PartIdentifier"));
}

TEST(MissingParts, TheTargetAdapterIsRequired) {
    const RunSpace space;
    const Outcome run = recordWithout(space, "HaloTargetAdapter");
    EXPECT_EQ(run.code, 4);
    EXPECT_THAT(run.errors, HasSubstr("Cannot load target adapter library. Bad installation."));
    expectLogOf(run);
}

TEST(MissingParts, FileReplayIsNot) {
    const RunSpace space;
    const Outcome run = recordWithout(space, "AmbitFileChannelDriver");
    EXPECT_EQ(run.code, 0) << run.errors;
}

TEST(MissingParts, AnUnknownCpuIsRefused) {
    const RunSpace space;
    const Outcome run = space.record("one-pin", {"--cpu", "bench/no-trace"});
    EXPECT_EQ(run.code, 5) << run.errors;
    EXPECT_THAT(run.errors, HasSubstr("This device is not supported by the receiver."));
    expectLogOf(run);
}

} // namespace
