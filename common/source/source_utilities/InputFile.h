#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace VX_QRS {

/// A file that is open for reading at any position, or none; others may write it meanwhile. Started processes do not
/// inherit it. Not thread-safe.
class InputFile {
public:
    InputFile() = default;
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;
    ~InputFile() { close(); }

    /// False when it cannot be opened. Only while none is open.
    bool open(const std::string& path);
    void close();
    bool isOpen() const { return handle != none; }

    /// Bytes in the file now; 0 when none is open.
    std::uint64_t length() const;
    /// Fewer bytes than `size` at the end of the file and when the system fails.
    std::size_t readAt(std::uint64_t position, void* data, std::size_t size) const;

private:
    static constexpr std::intptr_t none = -1; // on both platforms
    std::intptr_t handle = none;              // a descriptor or the platform's handle
};

} // namespace VX_QRS
