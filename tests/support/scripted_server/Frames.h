#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

/// The server's side of the wire, on purpose implemented without the client's code, so that tests find a mistake in
/// either.
namespace frames {

/// Text of bytes given as numbers.
std::string bytes(std::initializer_list<int> values);
std::string word(std::uint32_t value);
std::string access(std::uint32_t kind, std::uint32_t address, std::uint32_t value);

std::string escaped(std::string_view plain);
std::string unescaped(std::string_view raw);

/// `$`, the command, the escaped arguments, `#00`.
std::string request(char command, std::string_view arguments = {});

/// Records that precede a reply.
std::string dataRecord(std::string_view payload);
std::string errorRecord(std::uint32_t code, std::string_view first, std::string_view second);
std::string statusRecord(std::uint32_t value);

/// Records, `$OK`, the escaped payload, `#00`.
std::string reply(std::string_view payload = {}, std::string_view records = {});

/// Every byte value, those of the framing in a row and each next to another.
std::string awkwardBytes();

std::string toHex(std::string_view raw);
std::string fromHex(std::string_view digits);

} // namespace frames
