#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uSocket.h"
#include "common/source/source_utilities/uThread.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace VX_QRS {
namespace {

constexpr const char* childName = "unit_common_child";

std::string programFolder() {
    const std::filesystem::path self(testing::internal::GetArgvs().front());
    return std::filesystem::absolute(self).parent_path().string();
}

class uProcessTest : public testing::Test {
protected:
    ~uProcessTest() override { uEnvironment::terminateProcess(child); }

    // Starts the child by its bare name from its own folder.
    void start(const std::string& arguments, const char* name = childName, int mode = uEnvironment::detachedMode) {
        const uEnvironment::ScopedDirectoryChanger changer(programFolder().c_str());
        child = uEnvironment::startProcess(name, (report() + " " + arguments).c_str(), mode);
    }

    std::string report() const { return folder.file("report"); }

    void awaitReport() const {
        while (!folder.has("report")) {
            uThread::sleep(2);
        }
    }

    // The list of processes would not tell: the number of an ended one may already be another's.
    void awaitEnd() const {
        while (!uEnvironment::processHasEnded(child)) {
            uThread::sleep(2);
        }
    }

    test_support::TemporaryFolder folder;
    std::uint32_t child = 0;
};

TEST_F(uProcessTest, StartsABareNameFromTheCurrentDirectoryWithItsArguments) {
    start("0 one  two \"with blank\" \"\" end");
    ASSERT_NE(child, 0U);
    awaitReport();
    awaitEnd(); // a newly renamed file cannot always be opened at once
    EXPECT_EQ(folder.read("report"), "one\ntwo\nwith blank\n\nend\n");
    awaitEnd();
    EXPECT_EQ(uEnvironment::findProcess(childName, child), 0U);
}

TEST_F(uProcessTest, OtherModesStartAsWell) {
    start("0 one", childName, 0);
    ASSERT_NE(child, 0U);
    awaitReport();
    awaitEnd(); // a file that has only just been renamed cannot always be opened at once
    EXPECT_EQ(folder.read("report"), "one\n");
    awaitEnd();
}

TEST_F(uProcessTest, FoundByNameWithoutRegardToCaseAndExtension) {
    start("60000");
    ASSERT_NE(child, 0U);
    awaitReport();
    EXPECT_TRUE(uEnvironment::processExists(child));
    EXPECT_EQ(uEnvironment::findProcess(childName, child), child);
    EXPECT_EQ(uEnvironment::findProcess("Unit_Common_CHILD.exe", child), child);
    EXPECT_EQ(uEnvironment::findProcess("unit_common_child.any", child), child);
    EXPECT_EQ(uEnvironment::findProcess("unit_common_chil", child), 0U);
    EXPECT_EQ(uEnvironment::findProcess("unit_common_child_", child), 0U);
    EXPECT_EQ(uEnvironment::findProcess(childName, uEnvironment::getCurrentProcessId()), 0U);
}

TEST_F(uProcessTest, IdOfZeroFindsAnyProcessOfTheName) {
    start("60000");
    ASSERT_NE(child, 0U);
    const std::uint32_t found = uEnvironment::findProcess(childName, 0);
    EXPECT_NE(found, 0U); // other tests may run the same program
    EXPECT_EQ(uEnvironment::findProcess(childName, found), found);
}

TEST_F(uProcessTest, NothingOpenIsInherited) {
    uSocket server;
    ASSERT_EQ(server.listen(0), uSocket::done);
    const std::string shown = folder.write("open", "x");
    std::FILE* file = std::fopen(shown.c_str(), "r"); // a file of the host's own
    ASSERT_NE(file, nullptr);
    start("60000");
    ASSERT_NE(child, 0U);
    awaitReport();
    EXPECT_EQ(folder.read("report"), "");
    // With a copy of the listener in the child the port would still accept connections.
    const std::uint16_t port = server.localPort();
    server.close();
    uSocket client;
    EXPECT_EQ(client.connect("127.0.0.1", port), uSocket::failed);
    std::fclose(file);
}

TEST_F(uProcessTest, FailedStartGivesNoId) {
    EXPECT_EQ(uEnvironment::startProcess("orv_no_such_program", "x", uEnvironment::detachedMode), 0U);
    EXPECT_EQ(uEnvironment::startProcess("orv_no_such_program", nullptr, 0), 0U);
    EXPECT_EQ(uEnvironment::startProcess(nullptr, "x", uEnvironment::detachedMode), 0U);
    const std::string text = folder.write("text", "no program");
    EXPECT_EQ(uEnvironment::startProcess(text.c_str(), "x", uEnvironment::detachedMode), 0U);
}

TEST_F(uProcessTest, StartsAlongThePath) {
    const std::string before = uEnvironment::get("PATH");
    const std::string divider = std::string(uEnvironment::separator()) == "/" ? ":" : ";";
    uEnvironment::set("PATH", (before + divider + programFolder()).c_str());
    child = uEnvironment::startProcess(childName, (report() + " 0 found").c_str(), uEnvironment::detachedMode);
    uEnvironment::set("PATH", before.c_str());
    ASSERT_NE(child, 0U);
    awaitReport();
    awaitEnd(); // a file that has only just been renamed cannot always be opened at once
    EXPECT_EQ(folder.read("report"), "found\n");
    awaitEnd();
}

TEST(uProcess, ThisProcessExists) {
    const std::uint32_t self = uEnvironment::getCurrentProcessId();
    EXPECT_NE(self, 0U);
    EXPECT_TRUE(uEnvironment::processExists(self));
    EXPECT_FALSE(uEnvironment::processHasEnded(self));
    EXPECT_EQ(uEnvironment::findProcess("unit_common.exe", self), self);
    EXPECT_EQ(uEnvironment::findProcess("orv_no_such_program", 0), 0U);
}

TEST(uProcess, UnknownIdDoesNotExist) {
    EXPECT_FALSE(uEnvironment::processExists(0x7FFFFFF0));
    EXPECT_TRUE(uEnvironment::processHasEnded(0x7FFFFFF0));
    EXPECT_FALSE(uEnvironment::terminateProcess(0x7FFFFFF0));
    EXPECT_FALSE(uEnvironment::terminateProcess(0xFFFFFFF8)) << "no group of processes either";
}

} // namespace
} // namespace VX_QRS
