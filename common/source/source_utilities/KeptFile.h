#pragma once

#include <string>
#include <string_view>

namespace VX_QRS {

/// Keeps the content of a file that is about to be replaced, in the same folder and under the first free name of "FILE"
/// + suffix, "FILE" + suffix + ".2", and so on. Symbolic links are followed. An earlier copy is never replaced; one with
/// the same content is used again. The file itself stays in place, except on a volume without hard links, where it
/// moves.
///
/// Unless settle() was called, the destructor restores the file. Not thread-safe.
class KeptFile {
public:
    /// Keeps nothing when the file is missing, or already has the content `replacement`, apart from line ends. Throws
    /// source_utilities_error when the file cannot be opened for writing or cannot be kept.
    KeptFile(const std::string& path, std::string_view suffix, std::string_view replacement);
    KeptFile(const KeptFile&) = delete;
    KeptFile& operator=(const KeptFile&) = delete;
    ~KeptFile();

    /// Call this once the file is replaced.
    void settle() { made = Made::nothing; }

    /// Path of the file that has the old content; empty when nothing was kept.
    const std::string& path() const { return name; }

private:
    enum class Made { nothing, link, move };

    bool keepAs(const std::string& candidate);

    std::string file;
    std::string name;
    Made made = Made::nothing;
};

} // namespace VX_QRS
