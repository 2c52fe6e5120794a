#pragma once

#include <cstdio>
#include <string>

/// Platform layer of replacing and keeping files. Paths are in the process's narrow encoding.
namespace VX_QRS::nativeFile {

/// The target of a path: the end of a chain of symbolic links, which need not exist.
std::string follow(const std::string& path);

enum class Kind { missing, regular, other };

Kind kindOf(const std::string& path);

enum class Outcome { done, taken, refused };

/// Opens a new file for writing as text. Started processes do not inherit it. Taken: the name exists.
Outcome create(const std::string& path, std::FILE*& file);

/// Whether the file exists, can be opened for writing and can be replaced. Does not change it.
bool isWritable(const std::string& path);

/// Renames `replacement` to `path`. It gets the owner and access rights of the replaced file as far as the platform and
/// the caller's rights allow; its owner can always read and write it. On failure both files are unchanged.
bool replace(const std::string& replacement, const std::string& path);

/// Gives the file a second name. Taken: the name exists; refused: also on volumes without hard links.
Outcome link(const std::string& path, const std::string& name);

/// Renames the file, never over an existing one.
Outcome move(const std::string& path, const std::string& name);

bool remove(const std::string& path);

} // namespace VX_QRS::nativeFile
