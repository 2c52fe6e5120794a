#include "tests/recording/LibrarySession.h"

#include <gmock/gmock.h>

#include <csignal>
#include <sys/resource.h>

// A disk that has no room for a file, for which a limit on the size of files stands in on this system. The other one has
// no such limit.

namespace recording_test {

namespace {

/// No file of this process grows beyond that; writing more fails as on a full disk.
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

TEST(FullDisk, LetsTheUploadComeToItsEndAndIsSeenByTheSizeOfTheFile) {
    constexpr std::size_t room = 150000;
    LibrarySession session(Target{});
    session.configure(0);
    {
        const FileSizeLimit limit(room);
        session.start();
        EXPECT_EQ(session.finish(), "Stopped by buffer full : upload complete");
    }
    EXPECT_EQ(session.channel->GetNumSamples(), 0x40000u / 8) << "bytes count as written";
    EXPECT_EQ(session.file().size(), room);
    EXPECT_EQ(session.differenceFromSent(true), "") << "what found room is right";
    std::vector<std::uint64_t> samples(16);
    unsigned read = 16;
    EXPECT_EQ(LibrarySession::errorOf([&] { session.channel->SeekReadTraceData(20000, 16, samples.data(), &read); }),
              "");
    EXPECT_EQ(read, 0u);
    // Once there is room again, recordings are whole again.
    session.start();
    session.finish();
    EXPECT_EQ(session.differenceFromSent(), "");
}

} // namespace recording_test
