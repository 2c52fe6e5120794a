#include "OpenElsewhere.h"

#include <windows.h>

namespace rcvr_test {

OpenElsewhere::OpenElsewhere(const std::string& file)
    : handle(CreateFileA(file.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                         nullptr)) {}

OpenElsewhere::~OpenElsewhere() {
    CloseHandle(handle);
}

bool OpenElsewhere::refusesOthers() {
    return true;
}

} // namespace rcvr_test
