#pragma once

#include <cstdio>

namespace VX_QRS {

// fopen in a way that lets others open, read and write the file meanwhile. Started processes do not inherit it.
std::FILE* sharedOpen(const char* path, const char* mode);

} // namespace VX_QRS
