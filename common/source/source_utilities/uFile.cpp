#include "common/source/source_utilities/uFile.h"

#include "common/source/source_utilities/SharedOpen.h"

namespace VX_QRS {

namespace {

std::string textOf(const char* text) {
    return text != nullptr ? text : "";
}

} // namespace

uFile::uFile(const char* filePath, const char* openMode) : path(textOf(filePath)), mode(textOf(openMode)) {}

uFile::~uFile() {
    close();
}

bool uFile::open(const char* newPath, const char* newMode) {
    close();
    const uMutexLock lock(mutex);
    if (newPath != nullptr) {
        path = std::string(newPath);
    }
    mode = textOf(newMode);
    stream = sharedOpen(path.c_str(), mode.c_str());
    opened = stream != nullptr;
    return opened;
}

std::size_t uFile::write(const void* data, std::size_t size) {
    const uMutexLock lock(mutex);
    return opened ? std::fwrite(data, 1, size, stream) : 0;
}

bool uFile::flush() {
    const uMutexLock lock(mutex);
    return opened && std::fflush(stream) == 0;
}

void uFile::close() {
    const uMutexLock lock(mutex);
    opened = false;
    if (stream != nullptr) {
        std::fclose(stream);
        stream = nullptr;
    }
}

} // namespace VX_QRS
