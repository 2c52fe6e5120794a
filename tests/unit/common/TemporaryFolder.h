#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>

namespace VX_QRS::test {

// A folder of its own for one test, removed with all that is in it.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::random_device source;
        do {
            folder = std::filesystem::temp_directory_path() / ("orv_common_" + std::to_string(source()));
        } while (!std::filesystem::create_directory(folder));
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }

    std::string path() const { return folder.string(); }
    std::string path(const std::string& name) const { return (folder / name).string(); }

    // Bytes as they are.
    std::string write(const std::string& name, std::string_view bytes) const {
        std::ofstream(path(name), std::ios_base::binary) << bytes;
        return path(name);
    }

    // As text: line ends read as "\n" on all systems.
    std::string read(const std::string& name) const {
        std::ifstream file(path(name));
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }

    bool has(const std::string& name) const { return std::filesystem::exists(folder / name); }

private:
    std::filesystem::path folder;
};

} // namespace VX_QRS::test
