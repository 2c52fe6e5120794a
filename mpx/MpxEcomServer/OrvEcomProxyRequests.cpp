#include "common/source/source_utilities/uLog.h"
#include "link/Escape.h"
#include "link/PacketIo.h"
#include "mpx/MpxEcomServer/EcomWire.h"
#include "mpx/MpxEcomServer/OrvEcomProxy.h"
#include "mpx/MpxEcomServer/ProxyNames.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace VX_QRS::ORV {

namespace {

constexpr auto nothing = [] {};

void require(bool appended) {
    if (!appended) {
        throw std::runtime_error("internal error allocating buffer");
    }
}

} // namespace

// One request and its reply, without locking.
template <class Arguments, class Payload>
void OrvEcomProxy::exchange(char command, Arguments&& arguments, Payload&& payload) {
    beginRequest(command);
    arguments();
    endRequest();
    sendRequest();
    awaitReply();
    parseReplyHead();
    payload();
    finishReply();
}

template <class Arguments, class Payload>
void OrvEcomProxy::transact(char command, Arguments&& arguments, Payload&& payload) {
    const uMutexLock locked(mutex);
    exchange(command, std::forward<Arguments>(arguments), std::forward<Payload>(payload));
}

void OrvEcomProxy::transactPlain(const char* function, char command, const SourceLocation& where) {
    logEntry(proxySourceName, function, where);
    transact(command, nothing, nothing);
}

std::uint32_t OrvEcomProxy::queryVersion() {
    std::uint32_t version = 0;
    exchange(wire::command::version, nothing, [&] { expect(takeWord(version)); });
    return version;
}

void OrvEcomProxy::connect(const char* url) {
    logEntry(proxySourceName, "OrvEcomProxy::connect");
    const auto size = static_cast<std::uint32_t>(std::strlen(url));
    const auto arguments = [&] {
        appendWord(size);
        appendBytes(url, size);
    };
    transact(wire::command::connect, arguments, nothing);
}

void OrvEcomProxy::disconnect() {
    transactPlain("OrvEcomProxy::disconnect", wire::command::disconnect);
}

void OrvEcomProxy::read(RegisterAccess* list, std::uint32_t count) {
    logEntry(proxySourceName, "OrvEcomProxy::read");
    const auto arguments = [&] {
        appendWord(count);
        std::for_each(list, list + count, [this](const RegisterAccess& access) { appendAccess(access); });
    };
    const auto payload = [&] {
        expect(std::all_of(list, list + count, [this](RegisterAccess& access) { return takeAccess(access); }));
    };
    transact(wire::command::read, arguments, payload);
}

void OrvEcomProxy::write(const RegisterAccess* list, std::uint32_t count) {
    logEntry(proxySourceName, "OrvEcomProxy::write");
    const auto arguments = [&] {
        appendWord(count);
        std::for_each(list, list + count, [this](const RegisterAccess& access) { appendAccess(access); });
    };
    transact(wire::command::write, arguments, nothing);
}

DataClient::Channel* OrvEcomProxy::openChannel(std::uint32_t bufferSize, std::uint32_t mode, Callback* receiver) {
    logEntry(proxySourceName, "OrvEcomProxy::openChannel");
    const uMutexLock locked(mutex);
    if (callback != nullptr) {
        throw std::runtime_error("internal channel open error");
    }
    // Set before the request: records may precede its reply.
    callback = receiver;
    const auto arguments = [&] {
        appendWord(bufferSize);
        appendWord(mode);
    };
    transact(wire::command::openChannel, arguments, nothing);
    return this;
}

void OrvEcomProxy::closeChannel(DataClient::Channel*) {
    logEntry(proxySourceName, "OrvEcomProxy::closeChannel");
    const uMutexLock locked(mutex);
    if (callback == nullptr) {
        return;
    }
    transact(wire::command::closeChannel, nothing, nothing);
    callback = nullptr;
}

void OrvEcomProxy::start() {
    transactPlain("OrvEcomProxy::start", wire::command::start);
}

void OrvEcomProxy::status(std::uint32_t* ready) {
    logEntry(proxySourceName, "OrvEcomProxy::status");
    transact(wire::command::status, [&] { appendWord(*ready); }, [&] { expect(takeWord(*ready)); });
}

void OrvEcomProxy::peek(std::uint32_t first, std::uint32_t second, void* data, std::uint32_t* size) {
    logEntry(proxySourceName, "OrvEcomProxy::peek");
    const auto arguments = [&] {
        appendWord(first);
        appendWord(second);
        appendWord(*size);
        appendPointerStorage(data, *size);
    };
    const auto payload = [&] {
        expect(takeWord(*size));
        expect(takeBytes(data, *size));
    };
    transact(wire::command::peek, arguments, payload);
}

void OrvEcomProxy::stop() {
    transactPlain("OrvEcomProxy::stop", wire::command::stop);
}

void OrvEcomProxy::request(std::uint32_t count) {
    logEntry(proxySourceName, "OrvEcomProxy::request");
    transact(wire::command::request, [&] { appendWord(count); }, nothing);
}

void OrvEcomProxy::cancel() {
    transactPlain("OrvEcomProxy::cancel", wire::command::cancel);
}

void OrvEcomProxy::flush() {
    transactPlain("OrvEcomProxy::flush", wire::command::flush);
}

void OrvEcomProxy::pollServer() {
    try {
        transactPlain("OrvEcomProxy::pollServer", wire::command::poll);
    } catch (...) {
        // The timer thread has no caller to throw to; the client's next request fails by itself.
    }
}

void OrvEcomProxy::call() {
    pollServer();
}

void OrvEcomProxy::beginRequest(char command) {
    sendBuffer.clear();
    require(sendBuffer.appendByte(MPX_GDB_AGENT::packetStart));
    require(sendBuffer.appendByte(static_cast<std::uint8_t>(command)));
}

void OrvEcomProxy::endRequest() {
    require(sendBuffer.appendByte(MPX_GDB_AGENT::packetEnd));
    require(sendBuffer.appendChecksum(wire::checksum));
}

void OrvEcomProxy::appendWord(std::uint32_t value) {
    wire::Word word{};
    wire::put(value, word);
    appendBytes(word.data(), wire::wordSize);
}

void OrvEcomProxy::appendBytes(const void* bytes, std::uint32_t count) {
    require(sendBuffer.appendEscaped(bytes, count));
}

void OrvEcomProxy::appendAccess(const RegisterAccess& access) {
    wire::Access record{};
    const std::span<std::uint8_t, wire::accessSize> fields(record);
    wire::put(access.kind, fields.subspan<0, wire::wordSize>());
    wire::put(access.address, fields.subspan<wire::wordSize, wire::wordSize>());
    wire::put(access.value, fields.subspan<2 * wire::wordSize, wire::wordSize>());
    appendBytes(record.data(), wire::accessSize);
}

// The server expects `count` bytes and ignores them. They begin with the bytes of the pointer itself; memory beyond
// those must not be sent, so zeros follow.
void OrvEcomProxy::appendPointerStorage(const void* pointer, std::uint32_t count) {
    std::array<std::uint8_t, 256> block{};
    const auto value = reinterpret_cast<std::uintptr_t>(pointer);
    constexpr std::uint32_t pointerSize = 8;
    for (std::uint32_t i = 0; i < pointerSize && i < sizeof value; ++i) {
        block[i] = static_cast<std::uint8_t>(value >> (8 * i));
    }
    std::uint32_t part = std::min(count, pointerSize);
    appendBytes(block.data(), part);
    block.fill(0);
    for (count -= part; count != 0; count -= part) {
        part = std::min(count, static_cast<std::uint32_t>(block.size()));
        appendBytes(block.data(), part);
    }
}

void OrvEcomProxy::sendRequest() {
    switch (MPX_GDB_AGENT::writePacket(*link, sendBuffer)) {
    case MPX_GDB_AGENT::IoOk:
        return;
    case MPX_GDB_AGENT::IoDisconnected:
        fail("MpxEcomProxy: disconnected from server", "disconnected from server", link->lastError());
    default:
        fail("MpxEcomProxy: failed to write to server", "failed to write to server", link->lastError());
    }
}

// The log line is followed by one with the reason, if known.
void OrvEcomProxy::fail(const char* line, const char* text, const char* reason) {
    logError("%s", line);
    if (*reason != '\0') {
        logError("MpxEcomProxy: reason: %s", reason);
    }
    throw std::runtime_error(text);
}

} // namespace VX_QRS::ORV
