#pragma once

#include <cstdio>
#include <string>

// What replacing and keeping files asks of the platform. Paths are in the process's own narrow encoding.
namespace VX_QRS::nativeFile {

// The file that a path leads to: the end of a chain of symbolic links, whether that exists or not.
std::string follow(const std::string& path);

enum class Kind { missing, regular, other };

Kind kindOf(const std::string& path);

enum class Outcome { done, taken, refused };

// Opens a new file for writing as text. Started processes do not inherit it. Taken: the name exists.
Outcome create(const std::string& path, std::FILE*& file);

// Whether the file exists, opens for writing and may be replaced; it does not change.
bool isWritable(const std::string& path);

// Puts `replacement` in the place of the file `path`, whose owner and access rights it takes over as far as the
// platform and the caller's rights allow; its owner can always read and write it. Both files stay when this fails.
bool replace(const std::string& replacement, const std::string& path);

// Gives the file a second name. Taken: the name exists; refused: also where the volume knows no second names.
Outcome link(const std::string& path, const std::string& name);

// Gives the file another name, never over an existing file.
Outcome move(const std::string& path, const std::string& name);

bool remove(const std::string& path);

} // namespace VX_QRS::nativeFile
