#include "common/source/source_utilities/KeptFile.h"
#include "common/source/source_utilities/uConfig.h"
#include "tests/support/failure/FailureText.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <windows.h>
#include <fstream>

namespace VX_QRS {
namespace {

using test_support::failureText;
using Names = std::vector<std::string>;

class OpenFile {
public:
    OpenFile(const std::string& path, DWORD shared)
        : handle(CreateFileA(path.c_str(), GENERIC_READ, shared, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                             nullptr)) {}
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile() { CloseHandle(handle); }

private:
    HANDLE handle;
};

template <class Call>
std::string refusal(Call call) {
    return failureText<source_utilities_error>(call);
}

class FileReplacement : public testing::Test {
protected:
    static void write(const std::string& path) {
        uConfig config;
        config.setPath(path.c_str());
        config.addVariable("a", "1");
        config.write();
    }

    test_support::TemporaryFolder folder;
};

TEST_F(FileReplacement, AFileThatIsOpenElsewhereStaysWithNothingBesideIt) {
    const std::string path = folder.write("file", "old");
    {
        const OpenFile other(path, FILE_SHARE_READ | FILE_SHARE_WRITE);
        EXPECT_EQ(refusal([&] { const KeptFile kept(path, ".old", "a=1\n"); }),
                  "failed to open \"" + path + "\" for writing");
        EXPECT_EQ(refusal([&] { write(path); }), "failed to open \"" + path + "\" for writing");
    }
    EXPECT_EQ(folder.read("file"), "old");
    EXPECT_EQ(folder.names(), Names{"file"});
}

TEST_F(FileReplacement, AFileThatIsOpenElsewhereForItselfAloneCannotBeOpened) {
    const std::string path = folder.write("file", "old");
    {
        const OpenFile other(path, 0);
        EXPECT_EQ(refusal([&] { const KeptFile kept(path, ".old", "a=1\n"); }),
                  "failed to open \"" + path + "\" for writing");
        EXPECT_EQ(refusal([&] { write(path); }), "failed to open \"" + path + "\" for writing");
    }
    EXPECT_EQ(folder.names(), Names{"file"});
}

TEST_F(FileReplacement, AReadOnlyFileIsNotReplaced) {
    const std::string path = folder.write("file", "old");
    ASSERT_NE(SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_READONLY), 0);
    EXPECT_EQ(refusal([&] { const KeptFile kept(path, ".old", "new"); }),
              "failed to open \"" + path + "\" for writing");
    EXPECT_EQ(refusal([&] { write(path); }), "failed to open \"" + path + "\" for writing");
    SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(folder.read("file"), "old");
    EXPECT_EQ(folder.names(), Names{"file"});
}

TEST_F(FileReplacement, LinesEndAsTheSystemEndsThem) {
    write(folder.file("file"));
    std::ifstream file(folder.file("file"), std::ios_base::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "a=1\r\n");
}

TEST_F(FileReplacement, TheNullDeviceIsWrittenInPlace) {
    EXPECT_NO_THROW(write("NUL"));
}

} // namespace
} // namespace VX_QRS
