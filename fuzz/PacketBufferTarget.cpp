#include "fuzz/Require.h"
#include "fuzz/Targets.h"
#include "link/PacketBuffer.h"

#include <algorithm>
#include <string>
#include <vector>

namespace fuzz {

namespace {

using MPX_GDB_AGENT::PacketBuffer;
using Bytes = std::vector<std::uint8_t>;

bool isSpecial(std::uint8_t byte) {
    return byte == '}' || byte == '#' || byte == '$' || byte == '*';
}

// A simple, slow model of the buffer's contents and reported size.
struct Model {
    Bytes unread;
    std::size_t offset = 0;
    std::size_t capacity = 0;

    // Whether all bytes except the unread ones must be zero now.
    bool ensure(std::size_t count) {
        const std::size_t space = capacity - unread.size();
        if (count > space) {
            capacity = unread.size() + count + 1;
            offset = 0;
            return true;
        }
        if (count <= space - offset) {
            return false;
        }
        offset = 0;
        return true;
    }

    void take(std::size_t count) {
        unread.erase(unread.begin(), unread.begin() + static_cast<std::ptrdiff_t>(count));
        offset += count;
    }
};

class Comparison {
public:
    void perform(unsigned operation, std::uint8_t argument, std::span<const std::uint8_t> rest);
    void compare() const;
    std::size_t bytesTaken() const { return taken; }

private:
    void append(std::uint8_t argument, std::span<const std::uint8_t> rest);
    void startsWith(std::uint8_t argument, std::span<const std::uint8_t> rest);
    void find(std::uint8_t value) const;
    void peek(std::uint32_t index) const;
    void drop(std::uint32_t count);
    void decode(std::uint32_t count);
    void expectZeroAfterUnread() const {
        const std::uint8_t* const end = buffer.storage + buffer.capacity;
        require(std::all_of(buffer.unread() + buffer.length, end, [](std::uint8_t byte) { return byte == 0; }),
                "what is not unread is zero");
    }

    PacketBuffer buffer;
    Model model;
    std::size_t taken = 0; // bytes of the input that the latest operation used
};

void Comparison::perform(unsigned operation, std::uint8_t argument, std::span<const std::uint8_t> rest) {
    taken = 0;
    switch (operation % 12) {
    case 0:
        require(buffer.create(argument), "creates");
        model = {{}, 0, argument};
        return expectZeroAfterUnread();
    case 1:
        if (buffer.storage == nullptr) {
            require(buffer.reserve(argument), "reserves");
            model.capacity = argument;
        } else {
            require(!buffer.reserve(argument), "reserves only what is not there");
        }
        return;
    case 2:
        buffer.clear();
        model = {{}, 0, model.capacity};
        return expectZeroAfterUnread();
    case 3:
        require(buffer.ensureSpace(argument), "makes space");
        if (model.ensure(argument)) {
            expectZeroAfterUnread();
        }
        return;
    case 4:
        require(buffer.appendByte(argument), "appends");
        model.ensure(1);
        return model.unread.push_back(argument);
    case 5:
        return append(argument, rest);
    case 6: {
        require(buffer.appendChecksum(argument), "appends a checksum");
        model.ensure(2);
        constexpr char digits[] = "0123456789abcdef";
        model.unread.push_back(static_cast<std::uint8_t>(digits[argument >> 4]));
        return model.unread.push_back(static_cast<std::uint8_t>(digits[argument & 15]));
    }
    case 7:
        return startsWith(argument, rest);
    case 8:
        find(argument);
        return peek(argument);
    case 9:
        return drop(argument);
    case 10:
        buffer.terminate();
        return;
    default:
        return decode(argument);
    }
}

void Comparison::append(std::uint8_t argument, std::span<const std::uint8_t> rest) {
    const auto bytes = rest.first(std::min<std::size_t>(rest.size(), argument));
    taken = bytes.size();
    require(buffer.appendEscaped(bytes.data(), static_cast<std::uint32_t>(bytes.size())), "appends escaped");
    model.ensure(2 * bytes.size());
    for (const std::uint8_t byte : bytes) {
        if (isSpecial(byte)) {
            model.unread.push_back('}');
        }
        model.unread.push_back(isSpecial(byte) ? byte ^ 0x20 : byte);
    }
}

void Comparison::startsWith(std::uint8_t argument, std::span<const std::uint8_t> rest) {
    const auto text = rest.first(std::min<std::size_t>(rest.size(), argument & 7));
    taken = text.size();
    const bool consume = (argument & 8) != 0;
    const bool expected =
        text.size() <= model.unread.size() && std::equal(text.begin(), text.end(), model.unread.begin());
    require(buffer.startsWith(reinterpret_cast<const char*>(text.data()), static_cast<std::uint32_t>(text.size()),
                              consume) == expected,
            "starts with");
    if (expected && consume) {
        model.take(text.size());
    }
}

void Comparison::find(std::uint8_t value) const {
    const auto at = std::find(model.unread.begin(), model.unread.end(), value);
    std::uint32_t index = 0;
    const bool found = buffer.findByte(value, index);
    require(found == (at != model.unread.end()), "finds");
    require(!found || index == static_cast<std::uint32_t>(at - model.unread.begin()), "finds the first");
}

void Comparison::peek(std::uint32_t index) const {
    std::uint8_t value = 0;
    const bool there = buffer.peekByte(index, value);
    require(there == (index <= model.unread.size() && buffer.storage != nullptr), "peeks");
    require(!there || index >= model.unread.size() || value == model.unread[index], "peeks at the byte");
}

void Comparison::drop(std::uint32_t count) {
    const bool some = count < model.unread.size();
    buffer.drop(count);
    model.take(some ? count : model.unread.size());
    model.offset = 0;
    if (some) {
        expectZeroAfterUnread();
    }
}

void Comparison::decode(std::uint32_t count) {
    const std::uint8_t next = buffer.storage != nullptr ? buffer.unread()[buffer.length] : std::uint8_t{0};
    Bytes expected;
    std::size_t used = 0;
    while (expected.size() < count && used < model.unread.size()) {
        const std::uint8_t byte = model.unread[used++];
        if (byte != '}') {
            expected.push_back(byte);
        } else if (used < model.unread.size()) {
            expected.push_back(model.unread[used++] ^ 0x20);
        } else {
            expected.push_back(next ^ 0x20);
        }
    }
    Bytes out(count);
    std::uint32_t decoded = 0;
    require(buffer.decode(out.data(), count, decoded) == used, "uses the raw bytes");
    require(decoded == expected.size() && std::equal(expected.begin(), expected.end(), out.begin()), "decodes");
    const bool all = used == model.unread.size();
    model.take(used);
    if (all && used != 0) {
        model.offset = 0;
    }
}

void Comparison::compare() const {
    require(buffer.length == model.unread.size(), "length");
    require(buffer.capacity == model.capacity, "capacity");
    require(buffer.offset == model.offset, "offset");
    require(std::size_t{buffer.offset} + buffer.length <= buffer.capacity, "within the capacity");
    require(model.unread.empty() || std::equal(model.unread.begin(), model.unread.end(), buffer.unread()), "contents");
}

} // namespace

void packetBuffer(std::span<const std::uint8_t> input) {
    Comparison comparison;
    while (input.size() >= 2) {
        const unsigned operation = input[0];
        const std::uint8_t argument = input[1];
        input = input.subspan(2);
        comparison.perform(operation, argument, input);
        comparison.compare();
        input = input.subspan(comparison.bytesTaken());
    }
}

} // namespace fuzz
