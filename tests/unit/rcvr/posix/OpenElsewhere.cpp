#include "OpenElsewhere.h"

#include <cstdio>

namespace rcvr_test {

OpenElsewhere::OpenElsewhere(const std::string& file) : handle(std::fopen(file.c_str(), "r+b")) {}

OpenElsewhere::~OpenElsewhere() {
    if (handle != nullptr) {
        std::fclose(static_cast<std::FILE*>(handle));
    }
}

bool OpenElsewhere::refusesOthers() {
    return false;
}

} // namespace rcvr_test
