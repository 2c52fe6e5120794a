#include "common/source/source_utilities/InputFile.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace VX_QRS {

bool InputFile::open(const std::string& path) {
    handle = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    return isOpen();
}

void InputFile::close() {
    if (isOpen()) {
        ::close(static_cast<int>(handle));
        handle = none;
    }
}

std::uint64_t InputFile::length() const {
    const off_t end = isOpen() ? lseek(static_cast<int>(handle), 0, SEEK_END) : -1;
    return end > 0 ? static_cast<std::uint64_t>(end) : 0;
}

std::size_t InputFile::readAt(std::uint64_t position, void* data, std::size_t size) const {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t count = pread(static_cast<int>(handle), static_cast<char*>(data) + done, size - done,
                                    static_cast<off_t>(position + done));
        if (count > 0) {
            done += static_cast<std::size_t>(count);
        } else if (count == 0 || errno != EINTR) {
            break;
        }
    }
    return done;
}

} // namespace VX_QRS
