#pragma once

#include <cstddef>
#include <cstdint>

namespace MPX_GDB_AGENT {

/// Bytes of one packet: built by the append operations on the way out, filled by `readPacket` and taken apart by
/// the reading operations on the way in. The valid (unread) bytes lie at `offset` to `offset + length`, and
/// `offset + length` never exceeds `capacity`. The operations alone may change the fields.
///
/// Nothing throws; a failed allocation is reported as false and leaves the contents as they were. One caller at a
/// time.
struct PacketBuffer {
    std::uint8_t* storage = nullptr; ///< owned
    std::uint32_t capacity = 0;
    std::uint32_t offset = 0;
    std::uint32_t length = 0;

    PacketBuffer() = default;
    PacketBuffer(const PacketBuffer&) = delete;
    PacketBuffer& operator=(const PacketBuffer&) = delete;
    ~PacketBuffer();

    /// Empties the record and gives it `size` zeroed bytes. False, with a capacity of 0, when they are not to be had.
    bool create(std::uint32_t size);
    /// Does what `create` does for a record without storage; with storage it changes nothing and answers false.
    bool reserve(std::uint32_t size);
    /// Forgets all bytes and zeroes the whole capacity.
    void clear();

    /// Sees to it that `count` bytes fit behind the unread ones. May move the unread bytes to the start of the
    /// storage or to a new block; what is not unread is zero then.
    bool ensureSpace(std::uint32_t count);
    /// Appends one byte as it is.
    bool appendByte(std::uint8_t value);
    /// Appends `count` bytes, with those that mean something in the framing escaped. @param bytes outside of this
    /// buffer; may be null when `count` is 0.
    bool appendEscaped(const void* bytes, std::uint32_t count);
    /// Appends the two lower-case hexadecimal digits of a checksum.
    bool appendChecksum(std::uint8_t value);

    /// Whether the unread bytes begin with `count` bytes of `text`; with `consume`, a match is taken off the front.
    bool startsWith(const char* text, std::uint32_t count, bool consume);
    /// Looks for the first unread byte of that value from index `from` on. A caller that waits for more bytes passes
    /// the length of what it has searched already.
    bool findByte(std::uint8_t value, std::uint32_t& index, std::uint32_t from = 0) const;
    /// The unread byte at `index`. At `index == length` it is the byte just behind the data, which is always there.
    /// False beyond that.
    bool peekByte(std::uint32_t index, std::uint8_t& value) const;
    /// Takes `count` bytes off the front and moves the rest to the start of the storage; a count beyond the length
    /// empties the buffer.
    void drop(std::uint32_t count);
    /// Takes escaped bytes off the front until `count` bytes are produced or none is left. An escape byte that is the
    /// last unread one combines with the byte just behind the data. @param out storage of `count` bytes; those
    /// behind `decoded` may be overwritten, too. @return the raw bytes used.
    std::uint32_t decode(void* out, std::uint32_t count, std::uint32_t& decoded);

    /// Accounts for `count` bytes that were stored behind the unread ones, within the space ensured.
    void commit(std::uint32_t count);
    /// First unread byte.
    const std::uint8_t* unread() const { return storage + offset; }
    /// First byte behind the unread ones.
    std::uint8_t* space() { return storage + offset + length; }
    /// Stores a NUL behind the data. There is a byte for it even when the capacity is used up.
    void terminate();

private:
    // Bytes that the block really has, one more than the capacity at least. It grows in larger steps than the capacity,
    // so that a reply that arrives in thousands of reads is not copied once for each of them.
    std::size_t allocated = 0;
    // What is zero already is not zeroed again: from `dirtyEnd` to `zeroEnd` all bytes are. The capacity and the byte
    // behind it lie within `zeroEnd`; beyond that the block may hold anything.
    std::size_t dirtyEnd = 0;
    std::size_t zeroEnd = 0;

    void zeroBehind();
    bool growTo(std::uint32_t newCapacity);
};

} // namespace MPX_GDB_AGENT
