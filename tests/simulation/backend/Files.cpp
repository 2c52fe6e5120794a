// Calls of the C library's files. Real files, but: each call is a choice point and can fail, and what is written stays in
// the stream until it is flushed or closed, so that who looks too early sees it.

#include "tests/simulation/backend/Files.h"

#include "tests/simulation/faults/Faults.h"
#include "tests/simulation/faults/Quiet.h"
#include "tests/simulation/scheduler/Scheduler.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <fcntl.h>
#include <map>
#include <stdio_ext.h>
#include <vector>

extern "C" {
std::FILE* __real_fopen(const char* path, const char* mode);
std::FILE* __real_fopen64(const char* path, const char* mode);
std::FILE* __real_fdopen(int descriptor, const char* mode);
std::size_t __real_fread(void* data, std::size_t size, std::size_t count, std::FILE* file);
std::size_t __real_fwrite(const void* data, std::size_t size, std::size_t count, std::FILE* file);
int __real_fflush(std::FILE* file);
int __real_fclose(std::FILE* file);
int __real_ferror(std::FILE* file);
int __real_setvbuf(std::FILE* file, char* buffer, int mode, std::size_t size);
int __real_open(const char* path, int flags, ...);
int __real_remove(const char* path);
int __real_unlink(const char* path);
int __real_rename(const char* from, const char* to);
int __real_link(const char* from, const char* to);

std::FILE* __wrap_fopen(const char* path, const char* mode);
std::FILE* __wrap_fopen64(const char* path, const char* mode);
std::FILE* __wrap_fdopen(int descriptor, const char* mode);
std::size_t __wrap_fread(void* data, std::size_t size, std::size_t count, std::FILE* file);
std::size_t __wrap_fwrite(const void* data, std::size_t size, std::size_t count, std::FILE* file);
int __wrap_fflush(std::FILE* file);
int __wrap_fclose(std::FILE* file);
int __wrap_ferror(std::FILE* file);
int __wrap_setvbuf(std::FILE* file, char* buffer, int mode, std::size_t size);
int __wrap_open(const char* path, int flags, ...);
int __wrap_remove(const char* path);
int __wrap_unlink(const char* path);
int __wrap_rename(const char* from, const char* to);
int __wrap_link(const char* from, const char* to);
}

namespace simulation {

namespace {

/// A stream of a simulated thread.
struct Stream {
    std::vector<char> kept; // what is written and not flushed
    bool failed = false;
    bool closed = false; // its address may return with the next opening
};

using Streams = std::map<std::FILE*, Stream>;

Streams& streams() {
    static auto* all = new Streams;
    return *all;
}

bool linksAreRefused = false;

constexpr std::size_t keptSize = 1U << 20U; // more than a scenario writes into one file

bool isSimulated() {
    return Scheduler::isSimulated() && !Quiet::isOn();
}

bool failsAt(const char* what, Fault fault, int error) {
    Scheduler::instance().point({Operation::file, what});
    if (!Faults::instance().fails(fault)) {
        return false;
    }
    errno = error;
    return true;
}

Stream* streamOf(std::FILE* file) {
    const auto found = streams().find(file);
    return found == streams().end() ? nullptr : &found->second;
}

std::FILE* adopt(std::FILE* file) {
    if (file != nullptr) {
        const Quiet quiet;
        Stream& stream = streams()[file];
        stream = Stream{};
        stream.kept.resize(keptSize);
        __real_setvbuf(file, stream.kept.data(), _IOFBF, stream.kept.size());
    }
    return file;
}

/// Reports a stream that another thread has closed meanwhile; the C library must not see it.
bool isClosed(std::FILE* file, const char* what) {
    const Stream* stream = streamOf(file);
    if (stream == nullptr || !stream->closed) {
        return false;
    }
    Scheduler::instance().report("closed file used", std::string(what) + " of a stream that is closed");
    errno = EBADF;
    return true;
}

/// A failed write loses what was not yet in the file.
int fail(std::FILE* file) {
    __fpurge(file);
    if (Stream* stream = streamOf(file); stream != nullptr) {
        stream->failed = true;
    }
    return EOF;
}

} // namespace

void beginFiles() {
    const Quiet quiet;
    streams().clear();
    linksAreRefused = false;
}

void refuseLinks() {
    linksAreRefused = true;
}

std::size_t filesLeftOpen() {
    return static_cast<std::size_t>(
        std::count_if(streams().begin(), streams().end(), [](const auto& entry) { return !entry.second.closed; }));
}

} // namespace simulation

using simulation::Fault;

std::FILE* __wrap_fopen(const char* path, const char* mode) {
    if (!simulation::isSimulated()) {
        return __real_fopen(path, mode);
    }
    if (simulation::failsAt("fopen", Fault::fileOpen, EACCES)) {
        return nullptr;
    }
    return simulation::adopt(__real_fopen(path, mode));
}

std::FILE* __wrap_fopen64(const char* path, const char* mode) {
    return __wrap_fopen(path, mode);
}

std::FILE* __wrap_fdopen(int descriptor, const char* mode) {
    if (!simulation::isSimulated()) {
        return __real_fdopen(descriptor, mode);
    }
    return simulation::failsAt("fdopen", Fault::fileOpen, EMFILE) ? nullptr
                                                                  : simulation::adopt(__real_fdopen(descriptor, mode));
}

std::size_t __wrap_fread(void* data, std::size_t size, std::size_t count, std::FILE* file) {
    if (simulation::isSimulated()) {
        const bool failed = simulation::failsAt("fread", Fault::fileRead, EIO);
        if (simulation::isClosed(file, "fread")) {
            return 0;
        }
        if (failed) {
            simulation::fail(file);
            return 0;
        }
    }
    return __real_fread(data, size, count, file);
}

std::size_t __wrap_fwrite(const void* data, std::size_t size, std::size_t count, std::FILE* file) {
    const bool failed = simulation::isSimulated() && simulation::failsAt("fwrite", Fault::fileWrite, ENOSPC);
    if (simulation::isSimulated() && simulation::isClosed(file, "fwrite")) {
        return 0;
    }
    if (failed) {
        const std::size_t written = __real_fwrite(data, size, count / 2, file);
        __real_fflush(file);
        simulation::fail(file);
        return written;
    }
    return __real_fwrite(data, size, count, file);
}

int __wrap_fflush(std::FILE* file) {
    const bool failed = simulation::isSimulated() && simulation::failsAt("fflush", Fault::fileFlush, ENOSPC);
    if (simulation::isSimulated() && simulation::isClosed(file, "fflush")) {
        return EOF;
    }
    if (failed) {
        return simulation::fail(file);
    }
    return __real_fflush(file);
}

int __wrap_fclose(std::FILE* file) {
    if (!simulation::isSimulated()) {
        return __real_fclose(file);
    }
    const bool failed = simulation::failsAt("fclose", Fault::fileClose, ENOSPC);
    if (simulation::isClosed(file, "fclose")) {
        return EOF;
    }
    if (failed) {
        simulation::fail(file);
    }
    const int result = __real_fclose(file);
    if (simulation::Stream* stream = simulation::streamOf(file); stream != nullptr) {
        stream->closed = true;
        const simulation::Quiet quiet;
        std::vector<char>().swap(stream->kept);
    }
    return failed ? EOF : result;
}

int __wrap_ferror(std::FILE* file) {
    const simulation::Stream* stream = simulation::isSimulated() ? simulation::streamOf(file) : nullptr;
    return stream != nullptr && stream->failed ? 1 : __real_ferror(file);
}

int __wrap_setvbuf(std::FILE* file, char* buffer, int mode, std::size_t size) {
    return simulation::isSimulated() ? 0 : __real_setvbuf(file, buffer, mode, size);
}

int __wrap_open(const char* path, int flags, ...) {
    std::va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    if (simulation::isSimulated() && simulation::failsAt("open", Fault::fileOpen, EACCES)) {
        return -1;
    }
    return __real_open(path, flags, mode);
}

int __wrap_remove(const char* path) {
    const bool failed = simulation::isSimulated() && simulation::failsAt("remove", Fault::fileRemove, EACCES);
    return failed ? -1 : __real_remove(path);
}

int __wrap_unlink(const char* path) {
    const bool failed = simulation::isSimulated() && simulation::failsAt("unlink", Fault::fileRemove, EACCES);
    return failed ? -1 : __real_unlink(path);
}

int __wrap_rename(const char* from, const char* to) {
    const bool failed = simulation::isSimulated() && simulation::failsAt("rename", Fault::fileRename, EACCES);
    return failed ? -1 : __real_rename(from, to);
}

int __wrap_link(const char* from, const char* to) {
    const bool failed = simulation::isSimulated() && simulation::failsAt("link", Fault::fileLink, EPERM);
    if (simulation::linksAreRefused) {
        errno = EPERM;
        return -1;
    }
    return failed ? -1 : __real_link(from, to);
}
