#include "bench/server/Codec.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <numeric>
#include <utility>

namespace bench {

namespace {

constexpr std::uint8_t escapeByte = 0x7D;
constexpr std::uint8_t escapeBit = 0x20;

constexpr std::array<std::uint8_t, 4> special{'}', '#', '$', '*'};

bool isSpecial(std::uint8_t byte) {
    return std::find(special.begin(), special.end(), byte) != special.end();
}

// Eight bytes at a time: most groups of a recording have no special byte.
using Group = std::uint64_t;
constexpr Group ones = 0x0101010101010101;

// Not 0 when one of the bytes is 0.
constexpr Group zeroBytes(Group bytes) {
    return (bytes - ones) & ~bytes & (ones << 7);
}

bool hasSpecial(Group bytes) {
    return std::accumulate(special.begin(), special.end(), Group{0}, [&](Group found, std::uint8_t byte) {
               return found | zeroBytes(bytes ^ (byte * ones));
           }) != 0;
}

std::uint8_t* escapeOne(std::uint8_t byte, std::uint8_t* to) {
    if (isSpecial(byte)) {
        *to++ = escapeByte;
        byte ^= escapeBit;
    }
    *to++ = byte;
    return to;
}

std::span<const std::uint8_t> bytesOf(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

Bytes unescape(std::span<const std::uint8_t> body) {
    Bytes plain;
    plain.reserve(body.size());
    for (std::size_t index = 0; index < body.size(); ++index) {
        if (body[index] == escapeByte && index + 1 < body.size()) {
            plain.push_back(body[++index] ^ escapeBit);
        } else {
            plain.push_back(body[index]);
        }
    }
    return plain;
}

} // namespace

void RequestReader::feed(std::span<const std::uint8_t> bytes) {
    pending.insert(pending.end(), bytes.begin(), bytes.end());
}

std::optional<Request> RequestReader::next() {
    constexpr std::ptrdiff_t tail = 3; // '#' and the two characters after it
    const auto end = std::find(pending.begin() + static_cast<std::ptrdiff_t>(searched), pending.end(), '#');
    searched = static_cast<std::size_t>(end - pending.begin());
    if (pending.end() - end < tail) {
        return std::nullopt;
    }
    Request request;
    const auto begin = std::find(pending.begin(), end, '$');
    if (begin != end && begin + 1 != end) {
        request.command = static_cast<char>(*(begin + 1));
        request.arguments = unescape(std::span<const std::uint8_t>(begin + 2, end));
    }
    pending.erase(pending.begin(), end + tail);
    searched = 0;
    return request;
}

std::optional<std::uint32_t> ArgumentReader::u32() {
    if (rest.size() < 4) {
        return std::nullopt;
    }
    std::uint32_t value = 0;
    for (unsigned index = 0; index < 4; ++index) {
        value |= static_cast<std::uint32_t>(rest[index]) << (8 * index);
    }
    rest = rest.subspan(4);
    return value;
}

void ReplyWriter::append(ReplyWriter& made) {
    if (out.empty()) {
        out.swap(made.out); // many MiB of data, mostly
        return;
    }
    out.insert(out.end(), made.out.begin(), made.out.end());
    made.out.clear();
}

void ReplyWriter::raw(std::string_view text) {
    out.insert(out.end(), text.begin(), text.end());
}

void ReplyWriter::escaped(std::span<const std::uint8_t> payload) {
    std::size_t used = out.size();
    out.resize(used + 2 * payload.size());
    std::uint8_t* to = out.data() + used;
    while (!payload.empty()) {
        const std::size_t count = std::min(sizeof(Group), payload.size());
        Group group = 0;
        std::memcpy(&group, payload.data(), count);
        if (count == sizeof group && !hasSpecial(group)) {
            std::memcpy(to, &group, sizeof group);
            to += sizeof group;
        } else {
            for (const std::uint8_t byte : payload.first(count)) {
                to = escapeOne(byte, to);
            }
        }
        payload = payload.subspan(count);
    }
    used = static_cast<std::size_t>(to - out.data());
    out.resize(used);
}

void ReplyWriter::u32(std::uint32_t value) {
    const std::array<std::uint8_t, 4> little{
        static_cast<std::uint8_t>(value & 0xFF), static_cast<std::uint8_t>((value >> 8) & 0xFF),
        static_cast<std::uint8_t>((value >> 16) & 0xFF), static_cast<std::uint8_t>(value >> 24)};
    escaped(little);
}

void ReplyWriter::bytes(std::span<const std::uint8_t> payload) {
    escaped(payload);
}

void ReplyWriter::record(std::uint32_t type, std::span<const std::uint8_t> payload) {
    raw("$cb");
    u32(type);
    escaped(payload);
}

void ReplyWriter::data(std::span<const std::uint8_t> payload) {
    record(dataRecord, {});
    u32(static_cast<std::uint32_t>(payload.size()));
    escaped(payload);
}

void ReplyWriter::error(std::uint32_t code, std::string_view first, std::string_view second) {
    record(errorRecord, {});
    u32(code);
    for (const std::string_view text : {first, second}) {
        u32(static_cast<std::uint32_t>(text.size()));
        escaped(bytesOf(text));
    }
}

void ReplyWriter::status(std::uint32_t value) {
    record(statusRecord, {});
    u32(value);
}

void ReplyWriter::failure(std::string_view text) {
    raw("$err");
    const std::size_t start = out.size();
    raw(text);
    std::replace(out.begin() + static_cast<std::ptrdiff_t>(start), out.end(), std::uint8_t{'#'}, std::uint8_t{' '});
}

Bytes ReplyWriter::finish() {
    raw("#00");
    return std::exchange(out, {});
}

} // namespace bench
