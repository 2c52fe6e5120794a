#pragma once

#include <cstdio>

namespace VX_QRS {

/// fopen that permits others to open, read and write the file. Started processes do not inherit it.
std::FILE* sharedOpen(const char* path, const char* mode);

} // namespace VX_QRS
