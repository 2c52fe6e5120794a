#pragma once

#include <cstdint>
#include <span>

/// What arbitrary bytes are fed to. Each function takes them apart in its own way, checks what must hold whatever they
/// are, and ends the program when it does not; a sanitizer watches the rest. Driven by libFuzzer (preset fuzz) and, over
/// the kept inputs in corpus/, by an ordinary test.
namespace fuzz {

/// Bytes as a data server's replies to the requests of a client.
/// Byte 0: low five bits: the first operation, as below; 0x20: a channel is open; 0x40: a second operation follows, the
/// next one of the list; 0x80: bytes come one at a time, otherwise all at once. Byte 1: count of registers or size of
/// what is peeked at, and, by its low three bits, how many bytes each read may ask for. The rest is what comes back.
void replies(std::span<const std::uint8_t> input);

/// Bytes as operations on a packet buffer, which is compared with a slow model after each: an operation's number, its
/// argument, and for some as many bytes as the argument says.
void packetBuffer(std::span<const std::uint8_t> input);

/// Bytes as the text of a scenario, which is read or refused with its place.
void scenario(std::span<const std::uint8_t> input);

} // namespace fuzz
