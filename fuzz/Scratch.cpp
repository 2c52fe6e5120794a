#include "fuzz/Scratch.h"

#include "common/source/source_utilities/TextFile.h"
#include "fuzz/Require.h"

#include <cstdio>
#include <random>
#include <system_error>

namespace fuzz {

namespace {

namespace fs = std::filesystem;

class Folder {
public:
    Folder() {
        const fs::path memory("/dev/shm");
        std::error_code failed;
        const fs::path base = fs::is_directory(memory, failed) ? memory : fs::temp_directory_path();
        path = base / ("orv_fuzz_" + std::to_string(std::random_device{}()));
        require(fs::create_directory(path, failed), "a folder for files can be made");
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() {
        std::error_code ignored;
        fs::remove_all(path, ignored);
    }

    fs::path path;
};

} // namespace

const fs::path& scratchFolder() {
    static const Folder folder;
    return folder.path;
}

std::string scratchFile(const std::string& name, std::string_view bytes) {
    std::string path = (scratchFolder() / name).string();
    std::FILE* const file = std::fopen(path.c_str(), "wb");
    require(file != nullptr, "a file can be written");
    const bool whole = bytes.empty() || std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    require(std::fclose(file) == 0 && whole, "a file can be written");
    return path;
}

std::string bytesOf(const std::string& path) {
    std::string bytes;
    return VX_QRS::textFile::readWhole(path, bytes) ? bytes : std::string();
}

} // namespace fuzz
