#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace toolkit {

/// CRC-32 (polynomial 0xEDB88320) of `size` bytes behind an earlier result, which starts as 0.
std::uint32_t crc32(std::uint32_t earlier, const unsigned char* bytes, std::size_t size);
/// The same of samples as they lie in a file, the lowest byte first.
std::uint32_t crc32(std::uint32_t earlier, std::span<const std::uint64_t> samples);

} // namespace toolkit
