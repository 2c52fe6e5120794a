#include "tests/support/scratch/TemporaryFolder.h"

#include "common/source/source_utilities/uEnvironment.h"

#include <algorithm>
#include <atomic>
#include <fstream>
#include <random>
#include <sstream>
#include <system_error>

namespace test_support {

namespace {

std::string contentOf(const std::string& path, std::ios::openmode mode) {
    std::ifstream in(path, mode);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

} // namespace

TemporaryFolder::TemporaryFolder() {
    static std::atomic<unsigned> count{0};
    static const unsigned process = std::random_device{}();
    const std::string given = VX_QRS::uEnvironment::get("ORV_TEST_TEMP");
    const auto base = given.empty() ? std::filesystem::temp_directory_path() : std::filesystem::path(given);
    path = base / ("orv_test_" + std::to_string(process) + "_" + std::to_string(count++));
    std::filesystem::create_directories(path);
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

bool TemporaryFolder::has(const std::string& name) const {
    return exists(file(name));
}

std::vector<std::string> TemporaryFolder::names() const {
    std::vector<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(path)) {
        found.push_back(entry.path().filename().string());
    }
    std::sort(found.begin(), found.end());
    return found;
}

std::string TemporaryFolder::read(const std::string& name) const {
    return contentOf(file(name), std::ios::in);
}

std::string TemporaryFolder::write(const std::string& name, std::string_view bytes) const {
    writeText(file(name), bytes);
    return file(name);
}

std::string readText(const std::string& path) {
    return contentOf(path, std::ios::binary);
}

std::vector<std::string> linesOf(const std::string& path) {
    std::ifstream in(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

void writeText(const std::string& path, std::string_view text) {
    std::ofstream(path, std::ios::binary) << text;
}

bool exists(const std::string& path) {
    return std::filesystem::exists(path);
}

} // namespace test_support
