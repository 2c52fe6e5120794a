#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace test_support {

/// A folder of its own, gone with the object. It lies in the folder that ORV_TEST_TEMP names, so that a process which
/// does not come to its end can be cleaned up after; otherwise in the system's folder for temporary files.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string file(const std::string& name) const { return (path / name).string(); }

    std::filesystem::path path;
};

/// The bytes of a file; empty when there is none.
std::string readText(const std::string& path);
std::vector<std::string> linesOf(const std::string& path);
void writeText(const std::string& path, const std::string& text);
bool exists(const std::string& path);

} // namespace test_support
