#pragma once

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>

/// A folder of its own for one test, removed with the object.
class TempFolder {
public:
    TempFolder() {
        static std::atomic<unsigned> next{0};
        const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
        folder = std::filesystem::temp_directory_path() /
                 ("orvtrace-test-" + std::to_string(now) + "-" + std::to_string(next++));
        std::filesystem::create_directories(folder);
    }
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    std::filesystem::path file(const std::string& name) const { return folder / name; }
    std::filesystem::path write(const std::string& name, const std::string& text) const {
        std::ofstream(file(name), std::ios::binary) << text;
        return file(name);
    }
    const std::filesystem::path& path() const { return folder; }

private:
    std::filesystem::path folder;
};
