#include "common/source/source_utilities/uLog.h"
#include "link/Escape.h"
#include "link/PacketIo.h"
#include "mpx/MpxEcomServer/EcomWire.h"
#include "mpx/MpxEcomServer/OrvEcomProxy.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace VX_QRS::ORV {

namespace {

constexpr std::int32_t receiveWaitMs = 1000;
constexpr const char* disconnectedLine = "MpxEcomProxy: disconnected from server";
constexpr const char* disconnectedText = "disconnected from server";

// Removes a marker, a text without its NUL, from the front.
template <std::size_t size>
bool take(MPX_GDB_AGENT::PacketBuffer& buffer, const char (&marker)[size]) {
    constexpr bool consume = true;
    return buffer.startsWith(marker, static_cast<std::uint32_t>(size - 1), consume);
}

} // namespace

void OrvEcomProxy::awaitReply() {
    // An end mark in a payload is escaped, so the raw byte means that the reply is complete. No byte is searched twice.
    std::uint32_t searched = 0;
    std::uint32_t index = 0;
    bool hasEnded = false;
    bool lacksMemory = false;
    while (!receiveBuffer.findByte(MPX_GDB_AGENT::packetEnd, index, searched)) {
        if (hasEnded) {
            fail(disconnectedLine, disconnectedText, "the server's process has ended");
        }
        hasEnded = serverHasEnded(); // one more read, for the bytes sent before its end
        searched = receiveBuffer.length;
        const std::uint32_t result = MPX_GDB_AGENT::readPacket(*link, receiveBuffer, chunkSize, receiveWaitMs);
        if (result != MPX_GDB_AGENT::IoOk && result != MPX_GDB_AGENT::IoTimeout) {
            fail(disconnectedLine, disconnectedText, link->lastError());
        }
        if (result == MPX_GDB_AGENT::IoOk && receiveBuffer.length == searched) {
            waitForMemory(lacksMemory);
        }
        dropLateChecksum();
    }
}

// While the buffer cannot grow, the link stays readable and its own wait would return at once.
void OrvEcomProxy::waitForMemory(bool& reported) {
    if (!std::exchange(reported, true)) {
        logError("MpxEcomProxy: no memory for the server's reply, trying again");
    }
    processes.sleep(receiveWaitMs);
}

bool OrvEcomProxy::serverHasEnded() const {
    return watchesServer && processes.hasEnded(serverPid);
}

// Late checksum characters of the last reply precede this one. For a server that never sends them, the opening of this
// reply must not be removed instead.
void OrvEcomProxy::dropLateChecksum() {
    std::uint8_t first = 0;
    while (lateChecksum != 0 && receiveBuffer.length != 0) {
        receiveBuffer.peekByte(0, first);
        if (first == MPX_GDB_AGENT::packetStart) {
            lateChecksum = 0;
        } else {
            receiveBuffer.drop(1);
            --lateChecksum;
        }
    }
}

// A text without memory throws: by default the stream would cut it and ignore the texts of all later replies, which
// would then count as successful.
void OrvEcomProxy::clearNotes() {
    errorText.clear();
    errorText.exceptions(std::ios_base::badbit);
    errorText.str({});
}

void OrvEcomProxy::parseReplyHead() {
    clearNotes();
    while (take(receiveBuffer, wire::marker::record)) {
        parseRecord();
    }
    if (take(receiveBuffer, wire::marker::ok)) {
        // The payload is next.
    } else if (take(receiveBuffer, wire::marker::error)) {
        note("internal rsp error");
    } else if (take(receiveBuffer, wire::marker::exception)) {
        takeServerText();
    } else {
        note("invalid rsp response");
    }
    throwNoted();
}

void OrvEcomProxy::takeServerText() {
    std::uint32_t size = receiveBuffer.length;
    receiveBuffer.findByte(MPX_GDB_AGENT::packetEnd, size);
    errorText.write(reinterpret_cast<const char*>(receiveBuffer.unread()), static_cast<std::streamsize>(size));
    receiveBuffer.drop(size);
    if (errorText.view().empty()) {
        note("internal rsp exception");
    }
}

void OrvEcomProxy::parseRecord() {
    std::uint32_t type = 0;
    bool done = false;
    if (callback != nullptr && takeWord(type)) {
        if (type == wire::record::data) {
            done = parseDataRecord();
        } else if (type == wire::record::error) {
            done = parseErrorRecord();
        } else if (type == wire::record::status) {
            done = parseStatusRecord();
        }
    }
    if (!done) {
        note("invalid rsp callback response");
    }
}

bool OrvEcomProxy::parseDataRecord() {
    std::uint32_t size = 0;
    if (!takeWord(size)) {
        return false;
    }
    if (size > receiveBuffer.length) {
        // Cannot be complete, whatever is escaped in it: do not allocate what the server only claims.
        receiveBuffer.drop(receiveBuffer.length);
        return false;
    }
    firstScratch.ensure(size);
    if (!takeBytes(firstScratch.data(), size)) {
        return false;
    }
    callback->onData(firstScratch.data(), size);
    return true;
}

bool OrvEcomProxy::parseErrorRecord() {
    std::uint32_t code = 0;
    if (!takeWord(code) || !takeText(firstScratch) || !takeText(secondScratch)) {
        return false;
    }
    callback->onError(code, reinterpret_cast<const char*>(firstScratch.data()),
                      reinterpret_cast<const char*>(secondScratch.data()));
    return true;
}

bool OrvEcomProxy::parseStatusRecord() {
    std::uint32_t value = 0;
    if (!takeWord(value)) {
        return false;
    }
    callback->onStatus(value);
    return true;
}

// A length and that many bytes; appends a NUL.
bool OrvEcomProxy::takeText(Scratch& scratch) {
    std::uint32_t size = 0;
    if (!takeWord(size)) {
        return false;
    }
    if (size > receiveBuffer.length) {
        receiveBuffer.drop(receiveBuffer.length);
        return false;
    }
    scratch.ensure(std::uint64_t{size} + 1);
    if (!takeBytes(scratch.data(), size)) {
        return false;
    }
    scratch.data()[size] = 0;
    return true;
}

bool OrvEcomProxy::takeWord(std::uint32_t& value) {
    wire::Word word{};
    if (!takeBytes(word.data(), wire::wordSize)) {
        return false;
    }
    value = wire::get(word);
    return true;
}

bool OrvEcomProxy::takeBytes(void* to, std::uint32_t count) {
    std::uint32_t decoded = 0;
    receiveBuffer.decode(to, count, decoded);
    return decoded == count;
}

bool OrvEcomProxy::takeAccess(RegisterAccess& access) {
    wire::Access record{};
    if (!takeBytes(record.data(), wire::accessSize)) {
        return false;
    }
    const std::span<const std::uint8_t, wire::accessSize> fields(record);
    access.kind = wire::get(fields.subspan<0, wire::wordSize>());
    access.address = wire::get(fields.subspan<wire::wordSize, wire::wordSize>());
    access.value = wire::get(fields.subspan<2 * wire::wordSize, wire::wordSize>());
    return true;
}

void OrvEcomProxy::expect(bool decoded) {
    if (!decoded) {
        note("invalid rsp response data");
    }
}

void OrvEcomProxy::finishReply() {
    // The two characters after the end mark may arrive later.
    constexpr std::uint32_t tailSize = 1 + wire::checksumSize;
    const std::uint32_t present = std::min(receiveBuffer.length, tailSize);
    if (errorText.view().empty()) {
        std::uint8_t next = 0;
        if (present == 0 || !receiveBuffer.peekByte(0, next) || next != MPX_GDB_AGENT::packetEnd) {
            throw std::runtime_error("invald rsp final response");
        }
        lateChecksum = tailSize - present;
    }
    receiveBuffer.drop(present);
    throwNoted();
}

void OrvEcomProxy::note(const char* text) {
    errorText << text;
}

void OrvEcomProxy::throwNoted() const {
    if (!errorText.view().empty()) {
        throw std::runtime_error(errorText.str());
    }
}

} // namespace VX_QRS::ORV
