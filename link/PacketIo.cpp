#include "link/PacketIo.h"

#include "link/GdbDisplay.h"

#include <algorithm>
#include <iomanip>
#include <sstream>

namespace MPX_GDB_AGENT {

namespace {

constexpr int packetVerbosity = 7;
constexpr std::size_t sentLimit = 200;
constexpr std::size_t receivedLimit = 80;

void tracePacket(const char* prefix, const PacketBuffer& buffer, std::size_t limit) {
    if (traceVerbosity() >= packetVerbosity) {
        CLIENTOut() << describePacket(prefix, {buffer.unread(), buffer.length}, limit);
    }
}

} // namespace

std::string describePacket(const char* prefix, std::span<const std::uint8_t> bytes, std::size_t limit) {
    std::ostringstream line;
    line << prefix;
    for (const std::uint8_t byte : bytes.first(std::min(bytes.size(), limit))) {
        if (byte >= 32 && byte <= 126) {
            line << std::setw(1) << static_cast<char>(byte);
        } else {
            line << std::hex << std::setfill('0') << std::setw(2) << unsigned{byte};
        }
    }
    if (bytes.size() > limit) {
        line << "...";
    }
    line << '\n';
    return line.str();
}

std::uint32_t writePacket(IGdbIo& io, PacketBuffer& buffer) {
    const std::uint32_t total = buffer.length;
    std::uint32_t sent = 0;
    while (sent < total) {
        std::uint32_t count = 0;
        const std::uint32_t result = io.send(buffer.unread() + sent, total - sent, count);
        if (result != IoOk) {
            return result;
        }
        sent += count;
    }
    buffer.terminate();
    tracePacket("<<<< ", buffer, sentLimit);
    return IoOk;
}

std::uint32_t readPacket(IGdbIo& io, PacketBuffer& buffer, std::uint32_t chunkSize, std::int32_t waitMs) {
    if (!buffer.ensureSpace(chunkSize + 1)) {
        return IoOk;
    }
    if (chunkSize != 0) {
        std::uint32_t result = io.waitReadable(waitMs);
        if (result == IoOk) {
            std::uint32_t count = 0;
            result = io.receive(buffer.space(), chunkSize, count);
            buffer.commit(count);
        }
        if (result != IoOk) {
            return result;
        }
    }
    tracePacket(">>>> %", buffer, receivedLimit);
    buffer.terminate();
    return IoOk;
}

} // namespace MPX_GDB_AGENT
