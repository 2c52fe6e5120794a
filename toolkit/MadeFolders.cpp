#include "toolkit/MadeFolders.h"

namespace toolkit {

bool MadeFolders::make(const std::filesystem::path& folder) {
    std::error_code failed;
    if (std::filesystem::is_directory(folder, failed)) {
        return true;
    }
    if (std::filesystem::create_directory(folder, failed)) {
        made.push_back(folder);
    }
    return std::filesystem::is_directory(folder, failed);
}

void MadeFolders::removeEmpty() {
    std::error_code failed;
    for (; !made.empty(); made.pop_back()) {
        std::filesystem::remove(made.back(), failed); // does nothing to one that holds something
    }
}

} // namespace toolkit
