#include "tests/simulation/scenarios/ProcessFolder.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <unistd.h>

namespace simulation {

namespace {

std::string& current() {
    static auto* path = new std::string;
    return *path;
}

} // namespace

ProcessFolder::ProcessFolder() : before(current()) {
    const std::filesystem::path memory("/dev/shm");
    const auto base = std::filesystem::exists(memory) ? memory : std::filesystem::temp_directory_path();
    std::string path = (base / "orv_simulation_XXXXXX").string();
    if (mkdtemp(path.data()) == nullptr) {
        throw std::runtime_error("no folder for a search: " + path);
    }
    current() = path;
}

ProcessFolder::~ProcessFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(current(), ignored);
    current() = before;
}

const std::string& processFolder() {
    return current();
}

std::vector<std::uint8_t> contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace simulation
