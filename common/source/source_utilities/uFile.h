#pragma once

#include "common/source/source_utilities/uMutex.h"

#include <atomic>
#include <cstddef>
#include <cstdio>
#include <string>

namespace VX_QRS {

/// A text file that others may read and write at the same time. Nothing is thrown. write, flush and close may be
/// called from several threads.
class uFile {
public:
    /// Stores the arguments, opens nothing; `mode` is that of fopen.
    explicit uFile(const char* path = nullptr, const char* mode = "r");
    uFile(const uFile&) = delete;
    uFile& operator=(const uFile&) = delete;

    /// Closes.
    virtual ~uFile();

    /// Opens the given path, or with null the stored one. An open file is closed first.
    bool open(const char* path, const char* mode);

    /// Returns the number of bytes written; 0 when closed.
    std::size_t write(const void* data, std::size_t size);

    bool flush();
    void close();

    bool isOpen() const { return opened; }
    const std::string& getPath() const { return path; }

private:
    std::atomic<bool> opened{false};
    std::string path;
    std::string mode;
    std::FILE* stream = nullptr;
    uMutex mutex;
};

} // namespace VX_QRS
