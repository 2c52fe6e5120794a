// Replacement of a configuration file on this system.
#include "common/source/source_utilities/KeptFile.h"
#include "common/source/source_utilities/uConfig.h"
#include "tests/support/failure/FailureText.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/unit/common/posix/FileSizeLimit.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool linksRefused = false;
bool renamesRefused = false;

int refuse() {
    errno = EPERM;
    return -1;
}

} // namespace

// The linker directs every call to the first of each pair, and the second to the C library.
extern "C" {
int __real_link(const char* from, const char* to);
int __wrap_link(const char* from, const char* to) {
    return linksRefused ? refuse() : __real_link(from, to);
}
int __real_rename(const char* from, const char* to);
int __wrap_rename(const char* from, const char* to) {
    return renamesRefused ? refuse() : __real_rename(from, to);
}
}

namespace VX_QRS {
namespace {

using test_support::failureText;
using Names = std::vector<std::string>;

class Refused {
public:
    explicit Refused(bool& call) : flag(call) { flag = true; }
    Refused(const Refused&) = delete;
    Refused& operator=(const Refused&) = delete;
    ~Refused() { flag = false; }

private:
    bool& flag;
};

// An unprivileged user, if this process may change to one: root has all rights.
class OrdinaryUser {
public:
    OrdinaryUser() : before(geteuid()) {
        if (before == 0) {
            EXPECT_EQ(seteuid(nobody), 0);
        }
    }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;
    ~OrdinaryUser() { EXPECT_EQ(seteuid(before), 0); }

    static constexpr uid_t nobody = 65534;

private:
    uid_t before;
};

class FileReplacement : public testing::Test {
protected:
    FileReplacement() {
        if (geteuid() == 0) {
            EXPECT_EQ(chown(folder.path.string().c_str(), OrdinaryUser::nobody, OrdinaryUser::nobody), 0);
        }
    }

    std::string userFile(const std::string& name, const std::string& content, mode_t mode) {
        const std::string path = folder.write(name, content);
        if (geteuid() == 0) {
            EXPECT_EQ(chown(path.c_str(), OrdinaryUser::nobody, OrdinaryUser::nobody), 0);
        }
        EXPECT_EQ(chmod(path.c_str(), mode), 0);
        return path;
    }

    static struct stat factsOf(const std::string& path) {
        struct stat facts{};
        EXPECT_EQ(stat(path.c_str(), &facts), 0) << path;
        return facts;
    }

    static void write(const std::string& path, const std::string& value = "1") {
        uConfig config;
        config.setPath(path.c_str());
        config.addVariable("a", value.c_str());
        config.write();
    }

    test_support::TemporaryFolder folder;
};

TEST_F(FileReplacement, AFullDiskLeavesTheOldFileAndNothingElse) {
    const std::string path = folder.write("file", "old");
    const std::string failure = failureText<uConfig::error>([&] {
        const test::FileSizeLimit limit(4096);
        write(path, std::string(5000, 'x'));
    });
    EXPECT_EQ(failure, "failed to write \"" + path + "\"");
    EXPECT_EQ(folder.read("file"), "old");
    EXPECT_EQ(folder.names(), Names{"file"});
}

TEST_F(FileReplacement, ADiskThatIsFullAtTheLastByteIsNoticed) {
    const OrdinaryUser user; // who cannot replace a device by a mistake
    EXPECT_EQ(failureText<uConfig::error>([&] { write("/dev/full"); }), "failed to write \"/dev/full\"");
}

TEST_F(FileReplacement, ARefusedRenameLeavesTheOldFileAndNothingElse) {
    const std::string path = folder.write("file", "old");
    const Refused renames(renamesRefused);
    EXPECT_EQ(failureText<uConfig::error>([&] { write(path); }), "failed to write \"" + path + "\"");
    EXPECT_EQ(folder.read("file"), "old");
    EXPECT_EQ(folder.names(), Names{"file"});
}

TEST_F(FileReplacement, ADeviceIsWrittenInPlace) {
    const OrdinaryUser user;
    write("/dev/null");
    struct stat facts = factsOf("/dev/null");
    EXPECT_TRUE(S_ISCHR(facts.st_mode));
}

TEST_F(FileReplacement, SymbolicLinksStayAndLeadToTheNewFile) {
    std::filesystem::create_directory(folder.file("deep"));
    folder.write("deep/file", "old");
    std::filesystem::create_symlink("deep/file", folder.file("second"));
    std::filesystem::create_symlink(folder.file("second"), folder.file("first"));
    write(folder.file("first"));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("first")));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("second")));
    EXPECT_EQ(folder.read("deep/file"), "a=1\n");
    EXPECT_EQ(folder.names(), (Names{"deep", "first", "second"}));
}

TEST_F(FileReplacement, ASymbolicLinkToNothingYetLeadsToTheNewFile) {
    std::filesystem::create_symlink("file", folder.file("link"));
    write(folder.file("link"));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("link")));
    EXPECT_EQ(folder.read("file"), "a=1\n");
}

TEST_F(FileReplacement, SymbolicLinksInACircleCannotBeWritten) {
    const std::string path = folder.file("circle");
    std::filesystem::create_symlink("circle", path);
    EXPECT_EQ(failureText<uConfig::error>([&] { write(path); }), "failed to open \"" + path + "\" for writing");
    EXPECT_TRUE(std::filesystem::is_symlink(path));
}

TEST_F(FileReplacement, OwnerAndAccessRightsStay) {
    const std::string path = userFile("file", "old", 0640);
    const struct stat before = factsOf(path);
    write(path);
    const struct stat after = factsOf(path);
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_EQ(after.st_uid, before.st_uid);
    EXPECT_EQ(after.st_gid, before.st_gid);
    EXPECT_EQ(folder.read("file"), "a=1\n");
}

TEST_F(FileReplacement, AGroupThatCannotBeTakenOverGivesItsRightsToNoOther) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can make a file of a foreign group";
    }
    const std::string path = userFile("file", "old", 0664);
    const OrdinaryUser user; // whose group is still root's
    write(path);
    EXPECT_EQ(factsOf(path).st_mode & 0777, 0644U);
}

TEST_F(FileReplacement, AWriteProtectedFileIsNotReplaced) {
    const std::string path = userFile("file", "old", 0444);
    const OrdinaryUser user;
    EXPECT_EQ(failureText<uConfig::error>([&] { write(path); }), "failed to open \"" + path + "\" for writing");
    EXPECT_EQ(folder.read("file"), "old");
    EXPECT_EQ(failureText<source_utilities_error>([&] { const KeptFile kept(path, ".old", "new"); }),
              "failed to open \"" + path + "\" for writing");
    EXPECT_EQ(folder.names(), Names{"file"});
}

TEST_F(FileReplacement, AFolderThatAcceptsNoNewFileKeepsTheOldOne) {
    const std::string path = userFile("file", "old", 0644);
    EXPECT_EQ(chmod(folder.path.string().c_str(), 0555), 0);
    {
        const OrdinaryUser user;
        EXPECT_EQ(failureText<uConfig::error>([&] { write(path); }), "failed to open \"" + path + "\" for writing");
        EXPECT_EQ(failureText<source_utilities_error>([&] { const KeptFile kept(path, ".old", "new"); }),
                  "failed to keep \"" + path + "\" as \"" + path + ".old\", file not replaced");
    }
    EXPECT_EQ(chmod(folder.path.string().c_str(), 0755), 0);
    EXPECT_EQ(folder.read("file"), "old");
    EXPECT_EQ(folder.names(), Names{"file"});
}

TEST_F(FileReplacement, AFileThatCannotBeReadIsKeptAndItsReplacementCanBeRead) {
    const std::string path = userFile("file", "old", 0200);
    {
        const OrdinaryUser user;
        KeptFile kept(path, ".old", "a=1\n");
        EXPECT_EQ(kept.path(), path + ".old");
        write(path);
        kept.settle();
    }
    EXPECT_EQ(factsOf(path).st_mode & 0777, 0600U);
    EXPECT_EQ(factsOf(path + ".old").st_mode & 0777, 0200U);
    EXPECT_EQ(chmod((path + ".old").c_str(), 0600), 0);
    EXPECT_EQ(folder.read("file.old"), "old");
    EXPECT_EQ(folder.read("file"), "a=1\n");
}

TEST_F(FileReplacement, WithoutHardLinksTheFileIsMovedAndPutBack) {
    const std::string path = folder.write("file", "old");
    const Refused links(linksRefused);
    {
        const KeptFile kept(path, ".old", "new");
    }
    EXPECT_EQ(folder.names(), Names{"file"});
    folder.write("file.old", "earlier");
    {
        KeptFile kept(path, ".old", "a=1\n");
        write(path);
        kept.settle();
    }
    EXPECT_EQ(folder.names(), (Names{"file", "file.old", "file.old.2"}));
    EXPECT_EQ(folder.read("file.old"), "earlier");
    EXPECT_EQ(folder.read("file.old.2"), "old");
    EXPECT_EQ(folder.read("file"), "a=1\n");
}

TEST_F(FileReplacement, WhatCannotBeKeptAtAllIsReported) {
    const std::string path = folder.write("file", "old");
    const Refused links(linksRefused);
    const Refused renames(renamesRefused);
    EXPECT_EQ(failureText<source_utilities_error>([&] { const KeptFile kept(path, ".old", "new"); }),
              "failed to keep \"" + path + "\" as \"" + path + ".old\", file not replaced");
    EXPECT_EQ(folder.read("file"), "old");
}

TEST_F(FileReplacement, ACopyIsBesideTheFileThatALinkLeadsTo) {
    std::filesystem::create_directory(folder.file("deep"));
    folder.write("deep/file", "old");
    std::filesystem::create_symlink("deep/file", folder.file("link"));
    KeptFile kept(folder.file("link"), ".old", "new");
    kept.settle();
    EXPECT_EQ(kept.path(), folder.file("deep/file.old"));
    EXPECT_EQ(folder.read("deep/file.old"), "old");
}

} // namespace
} // namespace VX_QRS
