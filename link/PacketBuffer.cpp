#include "link/PacketBuffer.h"

#include "link/Escape.h"
#include "link/HexDigit.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace MPX_GDB_AGENT {

namespace {

constexpr std::uint64_t largest = std::numeric_limits<std::uint32_t>::max();

} // namespace

PacketBuffer::~PacketBuffer() {
    std::free(storage);
}

bool PacketBuffer::create(std::uint32_t size) {
    std::free(storage);
    capacity = 0;
    offset = 0;
    length = 0;
    allocated = std::size_t{size} + 1;
    storage = static_cast<std::uint8_t*>(std::calloc(allocated, 1));
    dirtyEnd = 0;
    zeroEnd = allocated;
    if (storage == nullptr) {
        allocated = 0;
        zeroEnd = 0;
        return false;
    }
    capacity = size;
    return true;
}

bool PacketBuffer::reserve(std::uint32_t size) {
    return storage == nullptr && create(size);
}

void PacketBuffer::clear() {
    offset = 0;
    length = 0;
    zeroBehind();
}

// Zeroes everything after the unread bytes, which begin at the start.
void PacketBuffer::zeroBehind() {
    if (dirtyEnd > length) {
        std::memset(storage + length, 0, dirtyEnd - length);
    }
    dirtyEnd = length;
}

void PacketBuffer::commit(std::uint32_t count) {
    length += count;
    dirtyEnd = std::max(dirtyEnd, std::size_t{offset} + length);
}

bool PacketBuffer::ensureSpace(std::uint32_t count) {
    const std::uint32_t room = capacity - length;
    if (count > room) {
        const std::uint64_t needed = std::uint64_t{length} + count + 1;
        return needed <= largest && growTo(static_cast<std::uint32_t>(needed));
    }
    if (count > room - offset) {
        std::memmove(storage, storage + offset, length);
        offset = 0;
        zeroBehind();
    }
    return true;
}

bool PacketBuffer::growTo(std::uint32_t newCapacity) {
    const std::size_t needed = std::size_t{newCapacity} + 1;
    if (needed > allocated) {
        // A large block grows in place, or its pages move without a copy.
        std::size_t size = std::max(needed, 2 * allocated);
        void* block = std::realloc(storage, size);
        if (block == nullptr && size > needed) {
            size = needed;
            block = std::realloc(storage, size);
        }
        if (block == nullptr) {
            return false;
        }
        storage = static_cast<std::uint8_t*>(block);
        allocated = size;
    }
    if (offset != 0) {
        std::memmove(storage, storage + offset, length);
    }
    offset = 0;
    capacity = newCapacity;
    zeroBehind();
    if (needed > zeroEnd) {
        std::memset(storage + zeroEnd, 0, needed - zeroEnd);
        zeroEnd = needed;
    }
    return true;
}

bool PacketBuffer::appendByte(std::uint8_t value) {
    if (!ensureSpace(1)) {
        return false;
    }
    *space() = value;
    commit(1);
    return true;
}

bool PacketBuffer::appendEscaped(const void* bytes, std::uint32_t count) {
    if (count > largest / 2 || !ensureSpace(2 * count)) {
        return false;
    }
    if (count != 0) {
        const std::size_t written = escapeBytes({static_cast<const std::uint8_t*>(bytes), count}, space());
        commit(static_cast<std::uint32_t>(written));
    }
    return true;
}

bool PacketBuffer::appendChecksum(std::uint8_t value) {
    if (!ensureSpace(2)) {
        return false;
    }
    *space() = static_cast<std::uint8_t>(hexDigit(value >> 4));
    commit(1);
    *space() = static_cast<std::uint8_t>(hexDigit(value & 0x0F));
    commit(1);
    return true;
}

bool PacketBuffer::startsWith(const char* text, std::uint32_t count, bool consume) {
    if (count > length || (count != 0 && std::memcmp(unread(), text, count) != 0)) {
        return false;
    }
    if (consume) {
        offset += count;
        length -= count;
    }
    return true;
}

bool PacketBuffer::findByte(std::uint8_t value, std::uint32_t& index, std::uint32_t from) const {
    if (from >= length) {
        return false;
    }
    const void* const found = std::memchr(unread() + from, value, length - from);
    if (found == nullptr) {
        return false;
    }
    index = static_cast<std::uint32_t>(static_cast<const std::uint8_t*>(found) - unread());
    return true;
}

bool PacketBuffer::peekByte(std::uint32_t index, std::uint8_t& value) const {
    if (index > length || storage == nullptr) {
        return false;
    }
    value = unread()[index];
    return true;
}

void PacketBuffer::drop(std::uint32_t count) {
    if (count < length) {
        length -= count;
        std::memmove(storage, storage + offset + count, length);
        offset = 0;
        zeroBehind();
    } else {
        length = 0;
        offset = 0;
    }
}

std::uint32_t PacketBuffer::decode(void* out, std::uint32_t count, std::uint32_t& decoded) {
    decoded = 0;
    if (count == 0 || length == 0) {
        return 0;
    }
    // The output is never longer than the input, so a larger request needs no storage for the rest.
    const std::span<std::uint8_t> target{static_cast<std::uint8_t*>(out), std::min(count, length)};
    const Unescaped done = unescapeBytes({unread(), length}, target);
    auto used = static_cast<std::uint32_t>(done.used);
    decoded = static_cast<std::uint32_t>(done.produced);
    if (decoded < target.size() && used < length) {
        // A lone escape byte at the end. The byte after the data is inside the block but is no data.
        target[decoded] = static_cast<std::uint8_t>(unread()[length] ^ escapeMask);
        ++decoded;
        ++used;
    }
    length -= used;
    offset = length == 0 ? 0 : offset + used;
    return used;
}

void PacketBuffer::terminate() {
    if (storage != nullptr) {
        *space() = 0;
    }
}

} // namespace MPX_GDB_AGENT
