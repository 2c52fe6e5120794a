#include "bench/siblings/XmtrLibrary.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <atomic>
#include <mutex>
#include <thread>

namespace bench {
namespace {

using testing::ElementsAre;
using VX_QRS::uSocket;

/// A side server that answers from a script and keeps the requests. It ends with its one client.
class FakeServer {
public:
    FakeServer(const test_support::TemporaryFolder& folder, std::vector<std::string> replies)
        : answers(std::move(replies)) {
        EXPECT_EQ(listener.listen(0), uSocket::done);
        folder.write("side.port", std::to_string(listener.localPort()) + "\n");
        thread = std::thread([this] { serve(); });
    }
    ~FakeServer() { join(); }
    void join() {
        if (thread.joinable()) {
            thread.join();
        }
    }
    std::vector<std::string> asked;

private:
    void serve() {
        constexpr int patience = 20000;
        if (!listener.waitReadable(patience)) {
            return;
        }
        const auto client = listener.accept();
        std::string pending;
        for (const std::string& answer : answers) {
            while (pending.find('\n') == std::string::npos) {
                char piece[64];
                std::int32_t count = 0;
                if (!client->waitReadable(patience) || client->read(piece, sizeof piece, 0, count) != uSocket::done) {
                    return;
                }
                pending.append(piece, static_cast<std::size_t>(count));
            }
            asked.push_back(pending.substr(0, pending.find('\n')));
            pending.erase(0, pending.find('\n') + 1);
            std::int32_t count = 0;
            client->write(answer.data(), static_cast<std::uint32_t>(answer.size()), 0, count);
        }
    }

    std::vector<std::string> answers;
    uSocket listener;
    std::thread thread;
};

Scenario scenarioOf(ExportKind kind, std::vector<std::string> fail = {}) {
    Scenario scenario;
    scenario.kind = kind;
    scenario.transmitter.frequencies = {1e7, 2e7};
    scenario.transmitter.fail = std::move(fail);
    return scenario;
}

int programOnePin(XmtrLibrary& library) {
    library.allocatePin(0, 13, 0, 0, 0);
    library.allocatePin(0, 12, 0, 1, 0);
    library.setPortWidth(0, 1);
    library.setFunctionMode(0, 3);
    library.applyFrequency(0, 1);
    library.programChannel(0);
    library.enablePort(0);
    return library.enablePins(0);
}

TEST(XmtrLibraryTest, ProgrammingReachesTheServer) {
    const test_support::TemporaryFolder folder;
    FakeServer server(folder, {"ok\n", "ok\n", "ok\r\n", "ok\n", "ok\n"});
    XmtrLibrary library(scenarioOf(ExportKind::Pti), (folder.path / "side.port").string());
    EXPECT_EQ(programOnePin(library), 0);
    EXPECT_EQ(library.applyEnd(0, true), 0);
    EXPECT_EQ(library.flushBuffer(0), 0);
    EXPECT_EQ(library.applyEnd(0, false), 0);
    EXPECT_EQ(library.shutdownPort(0), 0);
    server.join();
    EXPECT_THAT(server.asked, ElementsAre("program pattern=none frequency=1 kind=pti pins=0,1", "end 1", "flush",
                                          "end 0", "shutdown"));
}

TEST(XmtrLibraryTest, AnErrorAnswerIsAFailure) {
    const test_support::TemporaryFolder folder;
    FakeServer server(folder, {"err no such pin\n"});
    XmtrLibrary library(scenarioOf(ExportKind::Pti), (folder.path / "side.port").string());
    EXPECT_GT(programOnePin(library), 2);
}

TEST(XmtrLibraryTest, WithoutAServerThePinsHaveNoSignal) {
    const test_support::TemporaryFolder folder;
    XmtrLibrary library(scenarioOf(ExportKind::Pti), (folder.path / "side.port").string());
    EXPECT_EQ(programOnePin(library), xmtr_result::noBench);
    EXPECT_EQ(library.shutdownPort(0), xmtr_result::noBench);
}

TEST(XmtrLibraryTest, ANewServerIsFoundAfterTheOldOneEnded) {
    const test_support::TemporaryFolder folder;
    XmtrLibrary library(scenarioOf(ExportKind::Pti), (folder.path / "side.port").string());
    {
        FakeServer first(folder, {"ok\n"});
        EXPECT_EQ(library.flushBuffer(0), 0);
    }
    FakeServer second(folder, {"ok\n", "ok\n"});
    EXPECT_EQ(library.flushBuffer(0), 0);
    EXPECT_EQ(library.applyEnd(0, true), 0);
    second.join();
    EXPECT_THAT(second.asked, ElementsAre("flush", "end 1"));
}

TEST(XmtrLibraryTest, ClearedStatusBitsReturnOnlyAfterTheyWereZero) {
    const test_support::TemporaryFolder folder;
    FakeServer server(folder, {"ok 1073741825\n", "ok 0x40000001\n", "ok 1\n", "ok 1073741825\n"});
    XmtrLibrary library(scenarioOf(ExportKind::Pti), (folder.path / "side.port").string());
    std::uint32_t status = 0;
    EXPECT_EQ(library.getTraceStatus(0, &status), 0);
    EXPECT_EQ(status, 0x40000001U);
    EXPECT_EQ(library.clearTraceStatus(0, 0x40000000), 0);
    EXPECT_EQ(library.getTraceStatus(0, &status), 0);
    EXPECT_EQ(status, 1U);
    EXPECT_EQ(library.getTraceStatus(0, &status), 0);
    EXPECT_EQ(status, 1U);
    EXPECT_EQ(library.getTraceStatus(0, &status), 0);
    EXPECT_EQ(status, 0x40000001U);
}

TEST(XmtrLibraryTest, TheKindServesBothItsReaders) {
    const test_support::TemporaryFolder folder;
    const std::pair<ExportKind, unsigned> kinds[] = {
        {ExportKind::Pti, 1}, {ExportKind::Tpiu, 4}, {ExportKind::TpiuLite, 5}};
    for (const auto& [kind, number] : kinds) {
        XmtrLibrary library(scenarioOf(kind), (folder.path / "side.port").string());
        unsigned answer = 0;
        EXPECT_EQ(library.getTransmitterKind(0, &answer), 0);
        EXPECT_EQ(answer, number);
        EXPECT_EQ(library.getTransmitterKind(77, &answer), 0) << "whatever the number";
        EXPECT_EQ(answer, number);
    }
}

TEST(XmtrLibraryTest, ScriptedFailuresAffectEveryCallOrTheNamedOne) {
    const test_support::TemporaryFolder folder;
    XmtrLibrary library(scenarioOf(ExportKind::Pti, {"setPortWidth", "getNumFrequencySettings:2"}),
                        (folder.path / "side.port").string());
    EXPECT_EQ(library.setPortWidth(0, 1), xmtr_result::scripted);
    EXPECT_EQ(library.setPortWidth(0, 1), xmtr_result::scripted);
    unsigned count = 0;
    EXPECT_EQ(library.getNumFrequencySettings(0, &count), 0);
    EXPECT_EQ(count, 2U);
    EXPECT_EQ(library.getNumFrequencySettings(0, &count), xmtr_result::scripted);
    EXPECT_EQ(library.getNumFrequencySettings(0, &count), 0);
}

TEST(XmtrLibraryTest, TheExportSettingsOfTheTargetAreAccepted) {
    const test_support::TemporaryFolder folder;
    XmtrLibrary library(scenarioOf(ExportKind::Tpiu), (folder.path / "side.port").string());
    unsigned value = 1;
    unsigned size = 0;
    EXPECT_EQ(library.getExportFrameLimits(0, &value, &size), 0);
    EXPECT_EQ(library.setExportFrameSize(0, size), 0);
    EXPECT_GT(library.setExportFrameSize(0, size + 1), 2);
    EXPECT_EQ(library.setOption(0, 0), 0);
    EXPECT_GT(library.setOption(0, 1), 2);
    EXPECT_EQ(library.setStallCpu(0, true), 0);
    EXPECT_EQ(library.setMonitorCprt(0, true), 0);
    EXPECT_EQ(library.setNoDataTraceOnFifoFull(0, true), 0);
    EXPECT_EQ(library.setCycleAccurate(0, true), 0);
    EXPECT_EQ(library.closeChannel(0), 0);
}

} // namespace
} // namespace bench
