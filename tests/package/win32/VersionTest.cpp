#include <gtest/gtest.h>

#include <windows.h>
#include <string>
#include <vector>

namespace {

std::vector<char> versionResource() {
    DWORD unused = 0;
    std::vector<char> resource(GetFileVersionInfoSizeA(ORV_LIBRARY, &unused));
    if (!resource.empty() &&
        GetFileVersionInfoA(ORV_LIBRARY, 0, static_cast<DWORD>(resource.size()), resource.data()) == 0) {
        resource.clear();
    }
    return resource;
}

std::string text(const std::vector<char>& resource, const std::string& name) {
    void* value = nullptr;
    UINT size = 0;
    const std::string path = "\\StringFileInfo\\040904B0\\" + name;
    if (VerQueryValueA(resource.data(), path.c_str(), &value, &size) == 0) {
        return {};
    }
    return static_cast<const char*>(value);
}

TEST(VersionResource, NamesTheProductAndItsVersion) {
    const auto resource = versionResource();
    ASSERT_FALSE(resource.empty());
    EXPECT_EQ(text(resource, "ProductName"), "OrvRcvr");
    EXPECT_EQ(text(resource, "FileVersion"), ORV_VERSION);
    EXPECT_EQ(text(resource, "OriginalFilename"), "OrvRcvr.dll");
}

TEST(VersionResource, NumbersAgreeWithTheText) {
    const auto resource = versionResource();
    ASSERT_FALSE(resource.empty());
    void* value = nullptr;
    UINT size = 0;
    ASSERT_NE(VerQueryValueA(resource.data(), "\\", &value, &size), 0);
    const auto* fixed = static_cast<const VS_FIXEDFILEINFO*>(value);
    EXPECT_EQ(std::to_string(HIWORD(fixed->dwFileVersionMS)) + "." + std::to_string(LOWORD(fixed->dwFileVersionMS)) +
                  "." + std::to_string(HIWORD(fixed->dwFileVersionLS)),
              ORV_VERSION);
}

} // namespace
