#include "bench/server/DataServer.h"

#include "bench/server/SideProtocol.h"
#include "bench/server/TruthFile.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <utility>

namespace bench {

namespace {

constexpr int pollMilliseconds = 50;
constexpr int secondPollMilliseconds = 5;
constexpr auto longestLoneliness = std::chrono::minutes(2);
constexpr std::uint16_t firstSidePort = 56760;
constexpr std::uint16_t lastSidePort = 56999;
constexpr int exitByFault = 3;

std::uint64_t nanoseconds() {
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
            .count());
}

} // namespace

LoopbackSocket DataServer::listenAt(std::uint16_t port) {
    LoopbackSocket listening = LoopbackSocket::listenOn(port);
    if (!listening) {
        throw ServerError("port " + std::to_string(port) + " is taken");
    }
    return listening;
}

DataServer::DataServer(LoopbackSocket listening, ServerOptions chosen)
    : options(std::move(chosen)), listener(std::move(listening)),
      unit(options.scenario, nanoseconds, std::move(options.play)),
      service(unit, unitMutex, options.scenario.faults.version), faults(options.scenario.faults) {
    logFile.open(options.folder / "server.log", std::ios::app);
    truth.open(options.folder / "truth.jsonl", std::ios::app);
    contents.open(options.folder / "contents.jsonl", std::ios::app);
    if (!logFile || !truth || !contents) {
        throw ServerError("cannot write into " + options.folder.string());
    }
    unit.onRecording = [this](const RecordingTruth& recording) { truth << truthLine(recording) << std::endl; };
    unit.onFinished = [this](const ContentsTruth& held) { contents << contentsLine(held) << std::endl; };
    openSidePort();
    log("listening at " + std::to_string(options.port) + ", siblings at " + std::to_string(side) + ", scenario " +
        options.scenario.name);
}

DataServer::~DataServer() {
    stopping = true;
    if (sideThread.joinable()) {
        sideThread.join();
    }
}

void DataServer::openSidePort() {
    for (std::uint16_t port = firstSidePort; port <= lastSidePort && !sideListener; ++port) {
        sideListener = LoopbackSocket::listenOn(port);
        side = port;
    }
    if (!sideListener) {
        throw ServerError("no port is free for the siblings");
    }
    // A reader that waits for the file must never see half of it.
    const std::filesystem::path temporary = options.folder / "side.port.new";
    std::ofstream(temporary) << side << "\n";
    std::error_code error;
    std::filesystem::rename(temporary, options.folder / "side.port", error);
    if (error) {
        throw ServerError("cannot write into " + options.folder.string());
    }
}

void DataServer::log(const std::string& line) {
    const std::lock_guard lock(logMutex);
    logFile << line << std::endl;
}

void DataServer::run() {
    sideThread = std::thread([this] { acceptSides(); });
    std::thread client;
    const auto since = std::chrono::steady_clock::now();
    while (!stopping && listener) {
        if (!listener.readable(pollMilliseconds)) {
            if (!client.joinable() && std::chrono::steady_clock::now() - since > longestLoneliness) {
                log("no client connected");
                break;
            }
            continue;
        }
        LoopbackSocket connection = listener.accept();
        if (!connection) {
            continue;
        }
        if (client.joinable()) {
            silent = std::move(connection);
            listener.close();
            break;
        }
        if (options.scenario.faults.refuseSecond) {
            listener.close(); // before the first reply: a client that has one finds no listener
        } else {
            awaitSecond(connection);
        }
        client = std::thread([this, accepted = std::move(connection)]() mutable {
            serveClient(std::move(accepted));
            stopping = true;
        });
    }
    if (client.joinable()) {
        client.join();
    }
    log("ending");
}

// The client makes both connections before its first request. Closing the port before the first reply leaves it free by
// the time the client continues: another run's server can use it, and another run's client cannot connect here.
void DataServer::awaitSecond(const LoopbackSocket& first) {
    while (!listener.readable(secondPollMilliseconds)) {
        if (first.readable(0)) {
            break;
        }
    }
    if (listener.readable(0)) {
        silent = listener.accept();
    }
    if (silent) {
        listener.close();
    }
}

void DataServer::serveClient(LoopbackSocket connection) {
    RequestReader reader;
    Bytes chunk(0x10000);
    for (;;) {
        // The client waits for a reply, but not yet for the next one.
        while (service.prepare() && !connection.readable(0)) {
        }
        const std::size_t count = connection.receive(chunk);
        if (count == 0) {
            log("the client is gone");
            return;
        }
        reader.feed(std::span(chunk).first(count));
        while (const auto request = reader.next()) {
            if (!serveRequest(connection, *request)) {
                return;
            }
        }
    }
}

bool DataServer::serveRequest(const LoopbackSocket& connection, const Request& request) {
    if (const FaultStep* step = faults.onRequest(request.command)) {
        log(std::string("fault at '") + request.command + "': " + step->action);
        return misbehave(connection, request, *step);
    }
    Bytes reply = service.answer(request);
    const bool sent = !service.ended() && connection.sendAll(reply);
    service.reuse(std::move(reply));
    return sent;
}

bool DataServer::misbehave(const LoopbackSocket& connection, const Request& request, const FaultStep& step) {
    ReplyWriter reply;
    if (step.action == "die") {
        // As a process dies: nothing is closed in order, no reply is sent.
        std::_Exit(exitByFault);
    }
    if (step.action == "close") {
        return false;
    }
    if (step.action == "hang") {
        waitForClientToGo(connection);
        return false;
    }
    if (step.action == "late") {
        std::this_thread::sleep_for(std::chrono::duration<double>(step.seconds));
        return connection.sendAll(service.answer(request));
    }
    if (step.action == "cut") {
        const Bytes whole = service.answer(request);
        connection.sendAll(std::span(whole).first(std::min(step.byte, whole.size())));
        return false;
    }
    if (step.action == "unknown_record") {
        const std::array<std::uint8_t, 4> payload{1, 2, 3, 4};
        reply.record(step.code, payload);
        return connection.sendAll(service.answer(request, std::move(reply)));
    }
    if (step.action == "error_record") {
        reply.error(step.code, step.text, step.detail);
        return connection.sendAll(service.answer(request, std::move(reply)));
    }
    if (step.action == "status_record") {
        reply.status(step.code);
        return connection.sendAll(service.answer(request, std::move(reply)));
    }
    if (step.action == "short_record") {
        reply.record(dataRecord, {});
        reply.u32(100);
        reply.raw("abc");
    } else if (step.action == "error_reply") {
        reply.failure();
    } else if (step.action == "text_reply") {
        reply.failure(step.text);
    } else {
        reply.raw(step.text);
    }
    return connection.sendAll(reply.finish());
}

void DataServer::waitForClientToGo(const LoopbackSocket& connection) const {
    Bytes ignored(0x1000);
    while (connection.receive(ignored) != 0) {
    }
}

void DataServer::acceptSides() {
    std::vector<std::thread> threads;
    while (!stopping) {
        if (sideListener.readable(pollMilliseconds)) {
            if (LoopbackSocket connection = sideListener.accept()) {
                threads.emplace_back(
                    [this, accepted = std::move(connection)]() mutable { serveSide(std::move(accepted)); });
            }
        }
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

void DataServer::serveSide(LoopbackSocket connection) {
    std::string collected;
    Bytes chunk(0x1000);
    while (!stopping) {
        if (!connection.readable(pollMilliseconds)) {
            continue;
        }
        const std::size_t count = connection.receive(chunk);
        if (count == 0) {
            return;
        }
        collected.append(chunk.begin(), chunk.begin() + static_cast<std::ptrdiff_t>(count));
        for (std::size_t end = collected.find('\n'); end != std::string::npos; end = collected.find('\n')) {
            std::string line = collected.substr(0, end);
            collected.erase(0, end + 1);
            if (!line.empty() && line.back() == '\r') {
                line.pop_back();
            }
            const std::string reply = answerSideRequest(line, unit, unitMutex);
            log(line + " -> " + reply);
            const std::string wire = reply + "\n";
            connection.sendAll({reinterpret_cast<const std::uint8_t*>(wire.data()), wire.size()});
        }
    }
}

} // namespace bench
