#include "common/source/source_utilities/uSocket.h"
#include "host/platform/Platform.h"
#include "tests/road/Orvtrace.h"

#include <gmock/gmock.h>

#include <array>
#include <cstdint>
#include <map>

// `probe --connect`: the receiver starts the data server that COMMON_HELIX names, here the bench's, and asks it.

namespace {

using testing::AllOf;
using testing::HasSubstr;
namespace fs = std::filesystem;

constexpr std::uint16_t firstPort = 55760;
constexpr std::uint16_t portCount = 8;

/// The variables that a host with a real unit has, and those of the bench's server.
class ProbeTest : public testing::Test {
protected:
    ProbeTest() {
        fs::create_directories(space.file("profile"));
        fs::create_directories(space.file("bench"));
        give("USERPROFILE", space.file("profile").make_preferred().string());
        give("HOME", space.file("profile").make_preferred().string());
        give("COMMON_HELIX", orvtraceProgram().parent_path().make_preferred().string());
        give("ORV_BENCH_DIR", space.file("bench").make_preferred().string());
        give("ORV_BENCH_SCENARIO", space.write("kind.toml", "cpu = \"bench/app\"\n").make_preferred().string());
    }
    ~ProbeTest() override {
        for (const auto& [name, value] : before) {
            host::setEnvironment(name.c_str(), value);
        }
    }

    void give(const std::string& name, const std::string& value) {
        before.try_emplace(name, host::getEnvironment(name.c_str()));
        host::setEnvironment(name.c_str(), value);
    }

    /// Name of the part to "state: text; remedy".
    std::map<std::string, std::string> probe(int code, const fs::path& program = {}) {
        const Outcome run = space.run({"probe", "--connect", "--json"}, program);
        EXPECT_EQ(run.code, code) << run.output << run.errors;
        return partsOf(run);
    }
    static std::map<std::string, std::string> partsOf(const Outcome& run) {
        EXPECT_EQ(run.json.at("wouldStart"), run.code == 0);
        std::map<std::string, std::string> parts;
        for (const nlohmann::json& part : run.json.at("parts")) {
            const std::string remedy = part.at("remedy").is_null() ? "" : part.at("remedy").get<std::string>();
            parts[part.at("name")] =
                part.at("state").get<std::string>() + ": " + part.at("text").get<std::string>() + "; " + remedy;
        }
        return parts;
    }

    RunSpace space;

private:
    std::map<std::string, std::string> before;
};

TEST_F(ProbeTest, AServerThatAnswersIsStartedAndTheUnitIsNotClaimed) {
    auto parts = probe(0);
    EXPECT_EQ(parts["server-answer"], "ok: the data server answers, with the version that the receiver needs; ");
    EXPECT_THAT(parts["capture-unit"], HasSubstr("unknown: not asked"));
    EXPECT_THAT(readBytes(space.file("bench/server.log")), HasSubstr("listening at 55760"));
    EXPECT_TRUE(host::portIsFree(firstPort)); // the server has ended with the receiver
}

TEST_F(ProbeTest, WithoutConnectNothingIsStarted) {
    const Outcome run = space.run({"probe"});
    EXPECT_EQ(run.code, 0) << run.output;
    EXPECT_THAT(run.output, HasSubstr("unknown  server-answer           not asked"));
    EXPECT_FALSE(fs::exists(space.file("bench/server.log")));
    EXPECT_TRUE(fs::is_empty(space.file("profile")));
}

TEST_F(ProbeTest, AMissingServerIsNotStarted) {
    const fs::path program = copyOfInstallation(space.file("installed"), "mpx_ecom_server");
    give("COMMON_HELIX", program.parent_path().string());
    auto parts = probe(4, program);
    EXPECT_THAT(parts["data-server"], HasSubstr("missing: mpx_ecom_server.exe is neither in the folder that"));
    EXPECT_EQ(parts["server-answer"], "unknown: not asked: a part that it needs is missing; ");
    EXPECT_TRUE(fs::is_empty(space.file("profile")));
}

TEST_F(ProbeTest, AServerThatEndsAtOnceIsMissingAndTheLogIsNamed) {
    give("ORV_BENCH_SCENARIO",
         space.write("brief.toml", "cpu = \"bench/app\"\n[faults]\nexit_at_start = true\n").string());
    auto parts = probe(4);
    EXPECT_THAT(parts["server-answer"],
                AllOf(HasSubstr("missing: data server failure : failed to connect to data server; the log says: "),
                      HasSubstr("the receiver's log is "), HasSubstr("vx_trace_log")));
}

TEST_F(ProbeTest, AServerOfAnotherVersionIsQuotedFromTheLog) {
    give("ORV_BENCH_SCENARIO", space.write("other.toml", "cpu = \"bench/app\"\n[faults]\nversion = 2\n").string());
    EXPECT_THAT(probe(4)["server-answer"], HasSubstr("; the log says: server version is 2; version check failed; "));
}

TEST_F(ProbeTest, ATakenFirstPortIsAWarning) {
    VX_QRS::uSocket other;
    ASSERT_EQ(other.listen(firstPort), VX_QRS::uSocket::done);
    const Outcome run = space.run({"probe", "--connect", "--json"});
    auto parts = partsOf(run);
    EXPECT_THAT(parts["ports"], AllOf(HasSubstr("warning: "), HasSubstr("in use: 55760; ")));
    // A server without its port ends. If the receiver sees it before, it connects to the other program.
    if (run.code == 0) {
        EXPECT_THAT(parts["server-answer"], HasSubstr("ok: "));
        EXPECT_THAT(readBytes(space.file("bench/server.log")), HasSubstr("listening at 55761"));
    } else {
        EXPECT_THAT(parts["server-answer"], AllOf(HasSubstr("missing: "), HasSubstr("version check failed")));
    }
}

TEST_F(ProbeTest, TakenPortsAreNamedAndNoServerAnswers) {
    std::array<VX_QRS::uSocket, portCount> others;
    for (std::uint16_t i = 0; i < portCount; ++i) {
        ASSERT_EQ(others[i].listen(firstPort + i), VX_QRS::uSocket::done);
    }
    auto parts = probe(4);
    EXPECT_THAT(parts["ports"], HasSubstr("in use: 55760, 55761, 55762, 55763, 55764, 55765, 55766, 55767; "));
    EXPECT_THAT(parts["server-answer"], HasSubstr("missing: data server failure"));
}

} // namespace
