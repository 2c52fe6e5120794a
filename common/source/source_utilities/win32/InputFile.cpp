#include "common/source/source_utilities/InputFile.h"

#include <windows.h>
#include <algorithm>

namespace VX_QRS {

namespace {

HANDLE nativeHandle(std::intptr_t handle) {
    return reinterpret_cast<HANDLE>(handle);
}

} // namespace

bool InputFile::open(const std::string& path) {
    handle = reinterpret_cast<std::intptr_t>(CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                                         nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    return isOpen();
}

void InputFile::close() {
    if (isOpen()) {
        CloseHandle(nativeHandle(handle));
        handle = none;
    }
}

std::uint64_t InputFile::length() const {
    LARGE_INTEGER end{};
    return isOpen() && GetFileSizeEx(nativeHandle(handle), &end) != 0 && end.QuadPart > 0
               ? static_cast<std::uint64_t>(end.QuadPart)
               : 0;
}

std::size_t InputFile::readAt(std::uint64_t position, void* data, std::size_t size) const {
    constexpr std::size_t most = 1U << 30U; // of one call, which counts in 32 bits
    std::size_t done = 0;
    while (done < size) {
        const std::uint64_t at = position + done;
        OVERLAPPED place{};
        place.Offset = static_cast<DWORD>(at);
        place.OffsetHigh = static_cast<DWORD>(at >> 32);
        DWORD count = 0;
        if (ReadFile(nativeHandle(handle), static_cast<char*>(data) + done,
                     static_cast<DWORD>(std::min(size - done, most)), &count, &place) == 0 ||
            count == 0) {
            break;
        }
        done += count;
    }
    return done;
}

} // namespace VX_QRS
