#include "toolkit/Crc32.h"

#include <array>
#include <vector>

namespace toolkit {

std::uint32_t crc32(std::uint32_t earlier, std::span<const std::uint64_t> samples) {
    std::vector<unsigned char> bytes;
    bytes.reserve(samples.size() * 8);
    for (const std::uint64_t sample : samples) {
        for (unsigned shift = 0; shift < 64; shift += 8) {
            bytes.push_back(static_cast<unsigned char>(sample >> shift));
        }
    }
    return crc32(earlier, bytes.data(), bytes.size());
}

std::uint32_t crc32(std::uint32_t earlier, const unsigned char* bytes, std::size_t size) {
    static const auto table = [] {
        std::array<std::uint32_t, 256> made{};
        for (std::uint32_t i = 0; i < made.size(); ++i) {
            std::uint32_t value = i;
            for (int bit = 0; bit < 8; ++bit) {
                value = (value & 1U) != 0 ? 0xEDB88320U ^ (value >> 1) : value >> 1;
            }
            made[i] = value;
        }
        return made;
    }();
    std::uint32_t value = ~earlier;
    for (std::size_t i = 0; i < size; ++i) {
        value = table[(value ^ bytes[i]) & 0xFFU] ^ (value >> 8);
    }
    return ~value;
}

} // namespace toolkit
