#pragma once

namespace VX_QRS {

// Whether two paths, in the process's own narrow encoding, lead to one file that exists. std::filesystem takes narrow
// names for another encoding on Windows.
bool sameFile(const char* path, const char* other);

} // namespace VX_QRS
