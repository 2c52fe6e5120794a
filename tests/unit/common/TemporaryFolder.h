#pragma once

#include "tests/support/scratch/TemporaryFolder.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace VX_QRS::test {

// The folder of one test, and the texts in it.
class TemporaryFolder {
public:
    std::string path() const { return folder.path.string(); }
    std::string path(const std::string& name) const { return folder.file(name); }

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

    // Of everything in the folder, sorted.
    std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path)) {
            found.push_back(entry.path().filename().string());
        }
        std::sort(found.begin(), found.end());
        return found;
    }

    bool has(const std::string& name) const { return test_support::exists(folder.file(name)); }

private:
    test_support::TemporaryFolder folder;
};

} // namespace VX_QRS::test
