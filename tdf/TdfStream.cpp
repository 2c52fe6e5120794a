#include "tdf/TdfStream.h"

#include <array>
#include <cctype>
#include <string_view>

namespace Vx::Qrs::Trace::OrvRcvr::TdfStream {

File open(const char* fileName, const char* mode) {
    return File(std::fopen(fileName, mode));
}

bool isReadable(const char* fileName) {
    return fileName != nullptr && *fileName != '\0' && open(fileName, "r") != nullptr;
}

bool hasExtension(const char* fileName) {
    constexpr std::string_view extension = ".tdf";
    const std::string_view name = fileName;
    if (name.size() < extension.size()) {
        return false;
    }
    const std::string_view ending = name.substr(name.size() - extension.size());
    for (std::size_t i = 0; i < extension.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(ending[i])) != extension[i]) {
            return false;
        }
    }
    return true;
}

bool putWord(std::FILE* file, std::uint32_t value) {
    std::array<unsigned char, wordSize> bytes{};
    for (unsigned char& byte : bytes) {
        byte = static_cast<unsigned char>(value & 0xFFU);
        value >>= 8;
    }
    return std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
}

bool getWord(std::FILE* file, std::uint32_t& value) {
    std::array<unsigned char, wordSize> bytes{};
    if (std::fread(bytes.data(), 1, bytes.size(), file) != bytes.size()) {
        return false;
    }
    value = 0;
    for (std::size_t i = bytes.size(); i-- != 0;) {
        value = value << 8 | bytes[i];
    }
    return true;
}

bool seek(std::FILE* file, std::uint64_t target) {
    return fseeko(file, static_cast<std::int64_t>(target), SEEK_SET) == 0;
}

bool position(std::FILE* file, std::uint64_t& value) {
    const std::int64_t place = ftello(file);
    value = place >= 0 ? static_cast<std::uint64_t>(place) : 0;
    return place >= 0;
}

bool length(std::FILE* file, std::uint64_t& value) {
    return fseeko(file, 0, SEEK_END) == 0 && position(file, value);
}

} // namespace Vx::Qrs::Trace::OrvRcvr::TdfStream
