#include "FileFaults.h"

#include <array>
#include <cstddef>
#include <cstdio>

namespace {

using tdf_test::Function;

struct Watch {
    int calls = 0;
    int firstFailing = 0; // none
    int count = 0;
};
std::array<Watch, static_cast<std::size_t>(Function::Count)> watches;

Watch& watchOf(Function function) {
    return watches[static_cast<std::size_t>(function)];
}

bool fails(Function function) {
    Watch& watch = watchOf(function);
    ++watch.calls;
    return watch.firstFailing != 0 && watch.calls >= watch.firstFailing &&
           watch.calls - watch.firstFailing < watch.count;
}

} // namespace

namespace tdf_test {

FileFault::FileFault(Function function, int firstFailing, int count) : watched(function) {
    watchOf(function) = {0, firstFailing, count};
}

FileFault::~FileFault() {
    watchOf(watched) = {};
}

int FileFault::calls() const {
    return watchOf(watched).calls;
}

} // namespace tdf_test

// The linker directs every call to the first of each pair, and the second to the C library.
extern "C" {

std::FILE* REAL_OPEN(const char* name, const char* mode);
std::size_t __real_fwrite(const void* data, std::size_t size, std::size_t count, std::FILE* file);
std::size_t __real_fread(void* data, std::size_t size, std::size_t count, std::FILE* file);
int __real_fflush(std::FILE* file);
int __real_ferror(std::FILE* file);

std::FILE* WRAP_OPEN(const char* name, const char* mode) {
    return fails(Function::Open) ? nullptr : REAL_OPEN(name, mode);
}

std::size_t __wrap_fwrite(const void* data, std::size_t size, std::size_t count, std::FILE* file) {
    return fails(Function::Write) ? 0 : __real_fwrite(data, size, count, file);
}

std::size_t __wrap_fread(void* data, std::size_t size, std::size_t count, std::FILE* file) {
    return fails(Function::Read) ? 0 : __real_fread(data, size, count, file);
}

int __wrap_fflush(std::FILE* file) {
    return fails(Function::Flush) ? EOF : __real_fflush(file);
}

int __wrap_ferror(std::FILE* file) {
    return fails(Function::Error) ? 1 : __real_ferror(file);
}
}
