#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace test_support {

/// A new folder, removed with the object. It is made in the folder that ORV_TEST_TEMP names, where the files of a
/// process that was ended by force can be found and removed, or else in the system's folder for temporary files.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    /// Path of a file in the folder, which need not exist.
    std::string file(const std::string& name) const { return (path / name).string(); }
    bool has(const std::string& name) const;
    /// Names of everything in the folder, sorted.
    std::vector<std::string> names() const;
    /// Text of a file, with "\n" as line end on all systems; empty when there is none.
    std::string read(const std::string& name) const;
    /// Writes a file, every byte unchanged. Returns its path.
    std::string write(const std::string& name, std::string_view bytes) const;

    std::filesystem::path path;
};

/// The bytes of a file; empty when there is none.
std::string readText(const std::string& path);
std::vector<std::string> linesOf(const std::string& path);
void writeText(const std::string& path, std::string_view text);
bool exists(const std::string& path);

} // namespace test_support
