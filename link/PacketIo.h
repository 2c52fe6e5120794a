#pragma once

#include "link/IGdbIo.h"
#include "link/PacketBuffer.h"

#include <cstdint>
#include <span>
#include <string>

namespace MPX_GDB_AGENT {

/// Sends all unread bytes of the buffer, which keeps them. Blocks while the peer accepts none. @return `IoOk` or the
/// first other result of a send.
std::uint32_t writePacket(IGdbIo& io, PacketBuffer& buffer);

/// Reads once from the link, at most `chunkSize` bytes, and appends them to the unread ones, with a NUL after the data.
/// A packet may take many reads, and one read may bring more than a packet. A chunk size of 0 reads nothing. @param
/// waitMs limit of the wait for the first byte. @return `IoOk`, the result of the wait (`IoTimeout` among others) or of
/// the read; `IoOk` with nothing read when the buffer could not be enlarged.
std::uint32_t readPacket(IGdbIo& io, PacketBuffer& buffer, std::uint32_t chunkSize, std::int32_t waitMs);

/// The trace line of a packet: the prefix, up to `limit` bytes, "..." when there are more, and a line feed. Printable
/// bytes are unchanged, all others are two hexadecimal digits.
std::string describePacket(const char* prefix, std::span<const std::uint8_t> bytes, std::size_t limit);

} // namespace MPX_GDB_AGENT
