#include "tests/road/Orvtrace.h"

#include <gmock/gmock.h>

#include <csignal>
#include <sys/resource.h>

// A disk that becomes full: stood in for by a limit of the length of files, which fails the same writes.

namespace {

using testing::HasSubstr;
using testing::Not;
namespace fs = std::filesystem;

/// For as long as it lives no file can grow beyond so many bytes, in this process and those that it starts.
class FileLimit {
public:
    explicit FileLimit(std::uintmax_t bytes) : signalBefore(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &before);
        rlimit limit = before;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileLimit() {
        setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, signalBefore);
    }
    FileLimit(const FileLimit&) = delete;
    FileLimit& operator=(const FileLimit&) = delete;

private:
    using Handler = void (*)(int);
    Handler signalBefore;
    rlimit before{};
};

constexpr std::uintmax_t bufferBytes = 1 << 20; // of the scenario tpiu, which fills it
const std::vector<std::string> brief{"--until-full"};

std::vector<std::string> withBrief(std::vector<std::string> more) {
    more.insert(more.end(), brief.begin(), brief.end());
    return more;
}

bool hasPartialFile(const RunSpace& space) {
    for (const auto& entry : fs::directory_iterator(space.file(""))) {
        if (entry.path().filename().string().find(".part") != std::string::npos) {
            return true;
        }
    }
    return false;
}

TEST(FullDisk, ASaveThatFailsLeavesTheOldFileAndKeepsTheRecording) {
    const RunSpace space;
    const fs::path old = space.write("old.tdf", "kept");
    Outcome run;
    {
        const FileLimit limit(bufferBytes); // the recording fits, and not with a section header before it
        run = space.record("tpiu", withBrief({"--save", old.string(), "--force"}));
    }
    EXPECT_EQ(run.code, 9) << run.errors;
    EXPECT_THAT(run.errors, HasSubstr(old.string() + " cannot be written: "));
    EXPECT_THAT(run.errors, HasSubstr("; is its disk full?"));
    EXPECT_EQ(readBytes(old), "kept");
    EXPECT_FALSE(hasPartialFile(space));
    EXPECT_EQ(fs::file_size(run.json.at("files").at("samples").get<std::string>()), bufferBytes);
}

TEST(FullDisk, ASectionThatFailsTakesNoneOfTheEarlierOnesAlong) {
    const RunSpace space;
    const fs::path file = space.file("x.tdf");
    Outcome run;
    {
        const FileLimit limit(bufferBytes * 3 / 2);
        run = space.record("tpiu", withBrief({"--save", file.string(), "--repeat", "2"}));
    }
    EXPECT_EQ(run.code, 9) << run.errors;
    EXPECT_THAT(run.errors, HasSubstr(file.string() + " cannot be written: "));
    const Outcome listed = space.run({"tdf", "list", file.string(), "--json"});
    EXPECT_EQ(listed.code, 0) << listed.errors;
    ASSERT_EQ(listed.json.at("sections").size(), 1U);
    EXPECT_EQ(listed.json.at("sections")[0].at("dataSize"), bufferBytes);
}

TEST(FullDisk, TheUploadAndTheCalibrationNameTheDiskAndNotTheBoard) {
    for (const std::uintmax_t bytes : {std::uintmax_t{8192}, bufferBytes * 3 / 4}) {
        const RunSpace space;
        Outcome run;
        {
            const FileLimit limit(bytes);
            run = space.record("tpiu", withBrief({"--quiet"}));
        }
        EXPECT_EQ(run.code, 9) << run.errors;
        EXPECT_THAT(run.errors, HasSubstr("the disk of the folder " + space.file("run").string() + " is full; free"));
        EXPECT_THAT(run.errors, Not(HasSubstr("orvtrace doctor")));
    }
}

TEST(FullDisk, ExtractAndCreateLeaveTheOldFile) {
    const RunSpace space;
    const fs::path data = space.write("data.bin", std::string(100000, 'x'));
    const fs::path sections = space.file("x.tdf");
    ASSERT_EQ(space.run({"tdf", "create", sections.string(), "--data", data.string()}).code, 0);
    const fs::path old = space.write("old.tdf", "kept");
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"tdf", "extract", sections.string(), old.string(), "--force"},
          {"tdf", "create", old.string(), "--data", data.string(), "--force"}}) {
        const FileLimit limit(50000);
        const Outcome run = space.run(arguments);
        EXPECT_EQ(run.code, 9) << run.errors;
        EXPECT_EQ(lines(run.errors), 1U) << run.errors;
        EXPECT_THAT(run.errors, HasSubstr(old.string() + " cannot be written"));
        EXPECT_EQ(readBytes(old), "kept");
        EXPECT_FALSE(hasPartialFile(space));
    }
}

} // namespace
