#pragma once

#include "bench/faults/FaultScript.h"
#include "bench/scenarios/Scenario.h"
#include "bench/server/LoopbackSocket.h"
#include "bench/server/Service.h"
#include "bench/unit/Unit.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace bench {

struct ServerOptions {
    std::uint16_t port = 0; ///< for messages
    Scenario scenario;
    std::filesystem::path folder;                  ///< receives side.port, truth.jsonl, contents.jsonl and server.log
    std::optional<std::vector<std::uint8_t>> play; ///< what the target sends as trace
};

struct ServerError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The data server: the client's two connections, the side connections, the capture unit, and the faults that the
/// scenario asks for. The first connection is served, the second is kept silent; with the second the server stops
/// listening at the client's port, so that the next server can have it.
class DataServer {
public:
    /// Listens at a port; throws ServerError when it is taken. A program does this first, since its client
    /// may connect while the scenario and the file to play are still being read.
    static LoopbackSocket listenAt(std::uint16_t port);

    /// Both ports listen when this returns; throws ServerError when a file cannot be written.
    DataServer(LoopbackSocket listening, ServerOptions options);
    ~DataServer();

    /// Serves until the client disconnects, or until none has connected for two minutes.
    void run();

    std::uint16_t sidePort() const { return side; }

private:
    void awaitSecond(const LoopbackSocket& first);
    void serveClient(LoopbackSocket connection);
    /// Returns false when the connection must be closed.
    bool serveRequest(const LoopbackSocket& connection, const Request& request);
    bool misbehave(const LoopbackSocket& connection, const Request& request, const FaultStep& step);
    void waitForClientToGo(const LoopbackSocket& connection) const;
    void acceptSides();
    void serveSide(LoopbackSocket connection);
    void openSidePort();
    void log(const std::string& line);

    ServerOptions options;
    LoopbackSocket listener;
    LoopbackSocket sideListener;
    std::uint16_t side = 0;
    std::ofstream truth;
    std::ofstream contents;
    std::ofstream logFile;
    std::mutex logMutex;
    std::mutex unitMutex;
    Unit unit;
    Service service;
    FaultScript faults;
    std::atomic<bool> stopping{false};
    LoopbackSocket silent; ///< the client's second connection
    std::thread sideThread;
};

} // namespace bench
