#include "bench/siblings/LibraryFolder.h"

#include <windows.h>
#include <array>

namespace bench {

std::filesystem::path libraryFolder() {
    static const char marker = 0;
    HMODULE module = nullptr;
    if (!GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            &marker, &module)) {
        return {};
    }
    std::array<wchar_t, 4096> text{};
    const DWORD length = GetModuleFileNameW(module, text.data(), static_cast<DWORD>(text.size()));
    if (length == 0 || length >= text.size()) {
        return {};
    }
    return std::filesystem::path(text.data()).parent_path();
}

} // namespace bench
