#pragma once

#include <cstddef>
#include <cstdint>

namespace MPX_GDB_AGENT {

/// Bytes of one packet: append operations build a packet to send; `readPacket` fills the buffer, and the reading
/// operations parse it. The valid (unread) bytes lie at `offset` to `offset + length`, and `offset + length` never
/// exceeds `capacity`. The operations alone may change the fields.
///
/// Nothing throws; a failed allocation is reported as false and leaves the content unchanged. Not thread-safe.
struct PacketBuffer {
    std::uint8_t* storage = nullptr; ///< owned
    std::uint32_t capacity = 0;
    std::uint32_t offset = 0;
    std::uint32_t length = 0;

    PacketBuffer() = default;
    PacketBuffer(const PacketBuffer&) = delete;
    PacketBuffer& operator=(const PacketBuffer&) = delete;
    ~PacketBuffer();

    /// Empties the record and gives it `size` zeroed bytes. False, with a capacity of 0, when the allocation fails.
    bool create(std::uint32_t size);
    /// As `create` for a record without storage; with storage it changes nothing and returns false.
    bool reserve(std::uint32_t size);
    /// Removes all bytes and zeroes the whole capacity.
    void clear();

    /// Makes space for `count` bytes after the unread ones. May move the unread bytes to the start of the storage or to
    /// a new block; the remaining bytes are then zero.
    bool ensureSpace(std::uint32_t count);
    /// Appends one byte unchanged.
    bool appendByte(std::uint8_t value);
    /// Appends `count` bytes and escapes those with a meaning in the framing. @param bytes outside of this buffer; may
    /// be null when `count` is 0.
    bool appendEscaped(const void* bytes, std::uint32_t count);
    /// Appends the two lower-case hexadecimal digits of a checksum.
    bool appendChecksum(std::uint8_t value);

    /// Whether the unread bytes begin with `count` bytes of `text`; with `consume`, a match is removed.
    bool startsWith(const char* text, std::uint32_t count, bool consume);
    /// Finds the first unread byte of that value from index `from` on. A caller that waits for more bytes passes the
    /// length already searched.
    bool findByte(std::uint8_t value, std::uint32_t& index, std::uint32_t from = 0) const;
    /// The unread byte at `index`. At `index == length` it is the byte just past the data, which always exists. False
    /// beyond that.
    bool peekByte(std::uint32_t index, std::uint8_t& value) const;
    /// Removes `count` bytes from the front and moves the rest to the start of the storage; a larger count empties the
    /// buffer.
    void drop(std::uint32_t count);
    /// Removes escaped bytes from the front until `count` bytes are produced or none is left. An escape byte that is
    /// the last unread one combines with the byte just past the data. @param out storage of `count` bytes; those past
    /// `decoded` may be overwritten, too. @return the number of raw bytes used.
    std::uint32_t decode(void* out, std::uint32_t count, std::uint32_t& decoded);

    /// Adds `count` bytes that the caller stored after the unread ones, within the ensured space.
    void commit(std::uint32_t count);
    /// First unread byte.
    const std::uint8_t* unread() const { return storage + offset; }
    /// First byte past the unread ones.
    std::uint8_t* space() { return storage + offset + length; }
    /// Stores a NUL after the data. There is a byte for it even when the buffer is full.
    void terminate();

private:
    // Allocated bytes, at least one more than the capacity. The block grows in larger steps than the capacity, so that
    // a reply that arrives in thousands of reads is not copied in each.
    std::size_t allocated = 0;
    // All bytes from `dirtyEnd` to `zeroEnd` are zero and are not zeroed again. The capacity and the byte past it lie
    // within `zeroEnd`; bytes beyond are undefined.
    std::size_t dirtyEnd = 0;
    std::size_t zeroEnd = 0;

    void zeroBehind();
    bool growTo(std::uint32_t newCapacity);
};

} // namespace MPX_GDB_AGENT
