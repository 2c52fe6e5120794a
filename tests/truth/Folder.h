#pragma once

#include <filesystem>
#include <random>
#include <string>

namespace truth {

/// A folder of its own, gone with the object.
class Folder {
public:
    Folder() : path(std::filesystem::temp_directory_path() / ("orv_truth_" + std::to_string(std::random_device{}()))) {
        std::filesystem::create_directories(path);
    }
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    std::filesystem::path path;
};

} // namespace truth
