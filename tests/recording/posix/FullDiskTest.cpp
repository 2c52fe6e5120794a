#include "tests/recording/LibrarySession.h"

#include <gmock/gmock.h>

#include <csignal>
#include <sys/resource.h>

// A full disk, simulated by a limit on the size of files, which only this system has.

namespace recording_test {

namespace {

/// Limits the size of this process's files; writing more fails as on a full disk.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &old);
        const rlimit limited{bytes, old.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limited);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &old); }

private:
    rlimit old{};
};

} // namespace

TEST(FullDisk, LetsTheUploadEndAndShowsInTheSizeOfTheFile) {
    constexpr std::size_t limitBytes = 150000;
    LibrarySession session(Target{});
    session.configure(0);
    {
        const FileSizeLimit limit(limitBytes);
        session.start();
        EXPECT_EQ(session.finish(), "Stopped by buffer full : upload complete");
    }
    EXPECT_EQ(session.channel->GetNumSamples(), 0x40000u / 8) << "bytes count as written";
    EXPECT_EQ(session.file().size(), limitBytes);
    EXPECT_EQ(session.differenceFromSent(Compare::Prefix), "") << "the bytes within the limit are right";
    std::vector<std::uint64_t> samples(16);
    unsigned read = 16;
    EXPECT_EQ(LibrarySession::errorOf([&] { session.channel->SeekReadTraceData(20000, 16, samples.data(), &read); }),
              "");
    EXPECT_EQ(read, 0u);
    // Without the limit, recordings are complete again.
    session.start();
    session.finish();
    EXPECT_EQ(session.differenceFromSent(), "");
}

} // namespace recording_test
