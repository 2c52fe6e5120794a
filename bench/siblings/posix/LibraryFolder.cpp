#include "bench/siblings/LibraryFolder.h"

#include <dlfcn.h>

namespace bench {

std::filesystem::path libraryFolder() {
    static const char marker = 0;
    Dl_info info{};
    if (dladdr(&marker, &info) == 0 || info.dli_fname == nullptr) {
        return {};
    }
    std::error_code failed;
    const auto file = std::filesystem::absolute(info.dli_fname, failed);
    return failed ? std::filesystem::path() : file.parent_path();
}

} // namespace bench
