#pragma once

namespace VX_QRS {

/// Whether two paths, in the process's narrow encoding, name the same existing file. On Windows std::filesystem assumes
/// another narrow encoding.
bool sameFile(const char* path, const char* other);

} // namespace VX_QRS
