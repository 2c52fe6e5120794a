#pragma once

#include <string>
#include <string_view>

namespace VX_QRS {

// Keeps a file that is about to be replaced, beside it and under the first free name of "FILE" + suffix,
// "FILE" + suffix + ".2", and so on. Symbolic links are followed. An earlier copy is never replaced, and one of the same
// content serves again. The file itself stays in place, except on a volume without hard links, where it moves.
//
// Unless `settle` was called the destructor puts everything back. Not thread-safe.
class KeptFile {
public:
    // Keeps nothing when there is no such file, when it cannot be opened for writing, or when its content is
    // `replacement` already, line ends apart. Throws source_utilities_error when the file cannot be kept.
    KeptFile(const std::string& path, std::string_view suffix, std::string_view replacement);
    KeptFile(const KeptFile&) = delete;
    KeptFile& operator=(const KeptFile&) = delete;
    ~KeptFile();

    // The file was replaced.
    void settle() { made = Made::nothing; }

    // Where the old content is now; empty when nothing had to be kept.
    const std::string& path() const { return name; }

private:
    enum class Made { nothing, link, move };

    bool keepAs(const std::string& candidate);

    std::string file;
    std::string name;
    Made made = Made::nothing;
};

} // namespace VX_QRS
