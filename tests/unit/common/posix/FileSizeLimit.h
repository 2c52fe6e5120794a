#pragma once

#include <csignal>
#include <sys/resource.h>

namespace VX_QRS::test {

// Limits the size of files, as on a full disk.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) : handler(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &old);
        const rlimit limit{bytes, old.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &old);
        std::signal(SIGXFSZ, handler);
    }

private:
    rlimit old{};
    void (*handler)(int);
};

} // namespace VX_QRS::test
