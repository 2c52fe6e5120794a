#include "tests/simulation/scenarios/ProcessFolder.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <unistd.h>

namespace simulation {

const std::string& processFolder() {
    static const std::string* const path = [] {
        const std::filesystem::path memory("/dev/shm");
        const auto base = std::filesystem::exists(memory) ? memory : std::filesystem::temp_directory_path();
        auto* made = new std::string((base / ("orv_simulation_" + std::to_string(getpid()))).string());
        std::filesystem::create_directories(*made);
        return made;
    }();
    return *path;
}

std::vector<std::uint8_t> contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace simulation
