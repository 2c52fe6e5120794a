#include "bench/server/DataServer.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <atomic>
#include <chrono>
#include <fstream>
#include <string>
#include <thread>

namespace bench {
namespace {

using namespace std::string_literals;

constexpr std::uint16_t firstTestPort = 55900;

class RunningServer {
public:
    explicit RunningServer(Scenario scenario = {}) {
        for (std::uint16_t port = firstTestPort; port < firstTestPort + 50 && !server; ++port) {
            ServerOptions options;
            options.port = port;
            options.scenario = scenario;
            options.folder = folder.path;
            try {
                server = std::make_unique<DataServer>(DataServer::listenAt(port), std::move(options));
                chosen = port;
            } catch (const ServerError&) {
            }
        }
        thread = std::thread([this] {
            server->run();
            over = true;
        });
        client = LoopbackSocket::connectTo(chosen);
    }
    ~RunningServer() {
        client.close();
        join();
    }
    void join() {
        if (thread.joinable()) {
            thread.join();
        }
    }

    // The bytes received up to "#00", or until the connection ends.
    std::string ask(const std::string& body) {
        const std::string frame = "$" + body + "#00";
        client.sendAll({reinterpret_cast<const std::uint8_t*>(frame.data()), frame.size()});
        return receive(client, "#00");
    }

    static std::string receive(const LoopbackSocket& socket, const std::string& end) {
        std::string text;
        std::array<std::uint8_t, 256> chunk{};
        while (!text.ends_with(end)) {
            const std::size_t count = socket.receive(chunk);
            if (count == 0) {
                return text + "<gone>";
            }
            text.append(chunk.begin(), chunk.begin() + static_cast<std::ptrdiff_t>(count));
        }
        return text;
    }

    std::string side(const std::string& line) {
        const LoopbackSocket socket = LoopbackSocket::connectTo(server->sidePort());
        const std::string wire = line + "\n";
        socket.sendAll({reinterpret_cast<const std::uint8_t*>(wire.data()), wire.size()});
        return receive(socket, "\n");
    }

    test_support::TemporaryFolder folder;
    std::uint16_t chosen = 0;
    std::unique_ptr<DataServer> server;
    std::thread thread;
    std::atomic<bool> over{false};
    LoopbackSocket client;
};

std::string contents(const std::filesystem::path& file) {
    std::ifstream in(file);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

Scenario withFault(const std::string& command, const std::string& action) {
    Scenario scenario;
    FaultStep step;
    step.command = command;
    step.action = action;
    scenario.faults.steps = {step};
    return scenario;
}

TEST(DataServer, AnswersTheFirstConnectionAndKeepsTheSecondSilent) {
    RunningServer server;
    LoopbackSocket second = LoopbackSocket::connectTo(server.chosen);
    EXPECT_TRUE(second);
    EXPECT_EQ(server.ask("v"), "$OK\x01\0\0\0#00"s);
    const std::string frame = "$v#00";
    second.sendAll({reinterpret_cast<const std::uint8_t*>(frame.data()), frame.size()});
    EXPECT_FALSE(second.readable(300));
    EXPECT_EQ(server.ask("~"), "$OK#00");
}

TEST(DataServer, RefusesToStartOnATakenPort) {
    RunningServer server;
    try {
        DataServer::listenAt(server.chosen);
        FAIL();
    } catch (const ServerError& error) {
        EXPECT_EQ(error.what(), "port " + std::to_string(server.chosen) + " is taken");
    }
}

TEST(DataServer, LeavesItsPortToTheNextServerByTheFirstReply) {
    RunningServer server;
    const LoopbackSocket second = LoopbackSocket::connectTo(server.chosen);
    ASSERT_TRUE(second);
    EXPECT_EQ(server.ask("v"), "$OK\x01\0\0\0#00"s);
    const LoopbackSocket next = DataServer::listenAt(server.chosen);
    EXPECT_TRUE(next);
    const LoopbackSocket client = LoopbackSocket::connectTo(server.chosen);
    EXPECT_TRUE(next.readable(5000)) << "a later client goes to the later server";
    EXPECT_EQ(server.ask("~"), "$OK#00") << "the first one still has its client";
    EXPECT_FALSE(second.readable(0)) << "and the client its second connection";
}

TEST(DataServer, ServesAClientThatMakesItsSecondConnectionLate) {
    RunningServer server;
    EXPECT_EQ(server.ask("v"), "$OK\x01\0\0\0#00"s);
    const LoopbackSocket second = LoopbackSocket::connectTo(server.chosen);
    EXPECT_TRUE(second);
    EXPECT_EQ(server.ask("~"), "$OK#00");
    EXPECT_FALSE(second.readable(100));
}

TEST(DataServer, EndsAfterGoodbyeAndWhenTheClientDisconnects) {
    RunningServer polite;
    const std::string frame = "$D#00";
    polite.client.sendAll({reinterpret_cast<const std::uint8_t*>(frame.data()), frame.size()});
    polite.join();
    EXPECT_TRUE(polite.over);
    RunningServer rude;
    rude.client.close();
    rude.join();
    EXPECT_TRUE(rude.over);
}

TEST(DataServer, WritesThePortOfTheSiblingsAndServesThem) {
    RunningServer server;
    EXPECT_EQ(contents(server.folder.path / "side.port"), std::to_string(server.server->sidePort()) + "\n");
    EXPECT_GE(server.server->sidePort(), 56760);
    EXPECT_EQ(server.side("program pattern=f0 frequency=0 kind=pti pins=0,1,2,3,4"), "ok\n");
    EXPECT_EQ(server.side("status"), "ok 0\n");
    EXPECT_EQ(server.side("nonsense"), "err unknown request\n");
}

TEST(DataServer, WritesALineOfJsonForEachRecording) {
    RunningServer server;
    const auto u32 = [](std::uint32_t value) {
        return std::string{static_cast<char>(value & 0xFF), static_cast<char>((value >> 8) & 0xFF),
                           static_cast<char>((value >> 16) & 0xFF), static_cast<char>(value >> 24)};
    };
    const auto write = [&](std::uint32_t address, std::uint32_t value) {
        EXPECT_EQ(server.ask("M" + u32(1) + u32(1) + u32(address) + u32(value)), "$OK#00");
    };
    EXPECT_EQ(server.ask("o" + u32(0x40000) + u32(0)), "$OK#00");
    EXPECT_EQ(server.ask("s"), "$OK#00");
    write(0x8008100, 0x8500);
    write(0x8008050, 1);
    write(0x800811E, 0x8400);
    EXPECT_EQ(server.side("program pattern=ramp frequency=0 kind=pti pins=0,1"), "ok\n");
    const std::string truth = contents(server.folder.path / "truth.jsonl");
    EXPECT_THAT(truth, testing::EndsWith("}\n"));
    const nlohmann::json line = nlohmann::json::parse(truth);
    EXPECT_EQ(line.at("pattern"), "ramp");
    EXPECT_EQ(line.at("frequency"), 50e6);
    EXPECT_EQ(line.at("half_period"), 14);
    EXPECT_EQ(line.at("framing"), "packets");
    ASSERT_EQ(line.at("pins").size(), 1U);
    const nlohmann::json& pin = line.at("pins").at(0);
    EXPECT_EQ(pin.at("proc"), 1);
    EXPECT_EQ(pin.at("input"), 5);
    EXPECT_EQ(pin.at("emu"), 1);
    EXPECT_EQ(pin.at("error_rate"), 0);
}

TEST(DataServerFaults, ClosesBeforeTheReply) {
    RunningServer server(withFault("v", "close"));
    EXPECT_EQ(server.ask("v"), "<gone>");
}

TEST(DataServerFaults, HangsUntilTheClientDisconnects) {
    RunningServer server(withFault("v", "hang"));
    const std::string frame = "$v#00";
    server.client.sendAll({reinterpret_cast<const std::uint8_t*>(frame.data()), frame.size()});
    EXPECT_FALSE(server.client.readable(300));
    EXPECT_FALSE(server.over);
}

TEST(DataServerFaults, AnswersLate) {
    Scenario scenario = withFault("v", "late");
    scenario.faults.steps[0].seconds = 0.3;
    RunningServer server(scenario);
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(server.ask("v"), "$OK\x01\0\0\0#00"s);
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(290));
    EXPECT_EQ(server.ask("~"), "$OK#00");
}

TEST(DataServerFaults, CutsAReplyAtAByte) {
    Scenario scenario = withFault("v", "cut");
    scenario.faults.steps[0].byte = 4;
    RunningServer server(scenario);
    EXPECT_EQ(server.ask("v"), "$OK\x01<gone>");
}

TEST(DataServerFaults, PutsRecordsBeforeAReply) {
    Scenario scenario = withFault("~", "unknown_record");
    scenario.faults.steps[0].code = 1;
    scenario.faults.steps.push_back(withFault("~", "error_record").faults.steps[0]);
    scenario.faults.steps[1].nth = 2;
    scenario.faults.steps[1].code = 9;
    scenario.faults.steps[1].text = "a";
    scenario.faults.steps[1].detail = "b";
    scenario.faults.steps.push_back(withFault("~", "status_record").faults.steps[0]);
    scenario.faults.steps[2].nth = 3;
    RunningServer server(scenario);
    EXPECT_EQ(server.ask("~"), "$cb\x01\0\0\0\x01\x02\x03\x04$OK#00"s);
    EXPECT_EQ(server.ask("~"), "$cb\x63\x1E\0\0\x09\0\0\0\x01\0\0\0a\x01\0\0\0b$OK#00"s);
    EXPECT_EQ(server.ask("~"), "$cb\x64\x1E\0\0\0\0\0\0$OK#00"s);
}

TEST(DataServerFaults, SendsMalformedReplies) {
    const std::vector<std::pair<std::string, std::string>> expected{{"error_reply", "$E#00"},
                                                                    {"text_reply", "$errbroken#00"},
                                                                    {"garbage", "broken#00"},
                                                                    {"short_record", "$cb\x62\x1E\0\0d\0\0\0abc#00"s}};
    for (const auto& [action, reply] : expected) {
        Scenario scenario = withFault("v", action);
        scenario.faults.steps[0].text = "broken";
        RunningServer server(scenario);
        EXPECT_EQ(server.ask("v"), reply) << action;
    }
}

TEST(DataServerFaults, ReportsAnotherVersionAndRefusesTheSecondConnection) {
    Scenario scenario;
    scenario.faults.version = 2;
    scenario.faults.refuseSecond = true;
    RunningServer server(scenario);
    EXPECT_EQ(server.ask("v"), "$OK\x02\0\0\0#00"s);
    EXPECT_FALSE(LoopbackSocket::connectTo(server.chosen));
}

} // namespace
} // namespace bench
