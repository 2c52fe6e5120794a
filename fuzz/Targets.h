#pragma once

#include <cstdint>
#include <span>

/// Fuzz targets for arbitrary bytes. Each function parses them, checks what must hold for any input, and ends the
/// program when a check fails; a sanitizer checks the rest. Run by libFuzzer (preset fuzz) and, over the inputs in
/// corpus/, by an ordinary test.
namespace fuzz {

/// Bytes as a data server's replies to the requests of a client.
/// Byte 0: low five bits: the first operation, as below; 0x20: a channel is open; 0x40: a second operation follows, the
/// next one of the list; 0x80: bytes come one at a time, otherwise all at once. Byte 1: count of registers or size
/// of a peek, and, by its low three bits, how many bytes each read may request. The rest are the replies.
void replies(std::span<const std::uint8_t> input);

/// Bytes as operations on a packet buffer, which is compared with a slow model after each: an operation's number, its
/// argument, and for some as many bytes as the argument says.
void packetBuffer(std::span<const std::uint8_t> input);

/// Bytes as the text of a scenario, which is read, or rejected with a position.
void scenario(std::span<const std::uint8_t> input);

} // namespace fuzz
