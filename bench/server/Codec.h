#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace bench {

using Bytes = std::vector<std::uint8_t>;

/// Server side of the packet framing: '$', a body, '#' and two unchecked checksum characters. In the body the
/// bytes } # $ * are written as } and the byte xor 0x20. Numbers are little-endian.
struct Request {
    char command = 0;
    Bytes arguments; ///< without escapes
};

/// Assembles requests from received bytes, in pieces of any size.
class RequestReader {
public:
    void feed(std::span<const std::uint8_t> bytes);
    /// The next whole request. Bytes before a '$' are skipped; an empty body has the command 0.
    std::optional<Request> next();

private:
    Bytes pending;
    std::size_t searched = 0; ///< no '#' before this
};

/// Reads the numbers at the start of a request's arguments.
class ArgumentReader {
public:
    explicit ArgumentReader(std::span<const std::uint8_t> bytes) : rest(bytes) {}
    /// Empty when fewer than four bytes are left.
    std::optional<std::uint32_t> u32();
    std::span<const std::uint8_t> left() const { return rest; }

private:
    std::span<const std::uint8_t> rest;
};

inline constexpr std::uint32_t dataRecord = 7778;
inline constexpr std::uint32_t errorRecord = 7779;
inline constexpr std::uint32_t statusRecord = 7780;

/// Builds a reply: records first, then the marker and its payload, then the end.
class ReplyWriter {
public:
    ReplyWriter() = default;
    /// Builds in memory that is there already, whose content is dropped.
    explicit ReplyWriter(Bytes memory) : out(std::move(memory)) { out.clear(); }

    /// Moves records made earlier to the end of this reply; `made` is empty then.
    void append(ReplyWriter& made);
    bool empty() const { return out.empty(); }
    void clear() { out.clear(); }

    void data(std::span<const std::uint8_t> bytes);
    void error(std::uint32_t code, std::string_view first, std::string_view second);
    void status(std::uint32_t value);
    void record(std::uint32_t type, std::span<const std::uint8_t> payload);

    void ok() { raw("$OK"); }
    void failure() { raw("$E"); }
    /// A '#', which would end the packet, becomes a blank.
    void failure(std::string_view text);
    void raw(std::string_view text);

    void u32(std::uint32_t value);
    void bytes(std::span<const std::uint8_t> payload);

    Bytes finish();

private:
    void escaped(std::span<const std::uint8_t> payload);

    Bytes out;
};

} // namespace bench
