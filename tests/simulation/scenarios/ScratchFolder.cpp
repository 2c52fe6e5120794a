#include "tests/simulation/scenarios/ScratchFolder.h"

#include "tests/simulation/scenarios/ProcessFolder.h"

#include <filesystem>
#include <fstream>
#include <iterator>

namespace simulation {

ScratchFolder::ScratchFolder() {
    folder = processFolder() + "/scratch";
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
}

void ScratchFolder::write(const std::string& name, const std::string& content) const {
    std::ofstream(path(name), std::ios::binary) << content;
}

std::string ScratchFolder::read(const std::string& name) const {
    std::ifstream file(path(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::map<std::string, std::string> ScratchFolder::files() const {
    std::map<std::string, std::string> all;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        all[name] = read(name);
    }
    return all;
}

} // namespace simulation
