#include "host/platform/Program.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace host {

namespace {

/// The two ends of a pipe, neither of which the program inherits by itself.
struct Pipe {
    Pipe() { good = pipe2(ends.data(), O_CLOEXEC) == 0; }
    ~Pipe() {
        closeEnd(0);
        closeEnd(1);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    void closeEnd(std::size_t which) {
        if (ends[which] >= 0) {
            close(ends[which]);
        }
        ends[which] = -1;
    }

    std::array<int, 2> ends{-1, -1};
    bool good = false;
};

std::string readAll(int from) {
    std::string text;
    std::array<char, 4096> block{};
    for (;;) {
        const ssize_t count = read(from, block.data(), block.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return text;
        }
        text.append(block.data(), static_cast<std::size_t>(count));
    }
}

} // namespace

std::optional<ProgramEnd> runProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments) {
    Pipe errors;
    if (!errors.good) {
        return std::nullopt;
    }
    std::vector<std::string> words{program.string()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> line;
    for (std::string& word : words) {
        line.push_back(word.data());
    }
    line.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, errors.ends[1], STDERR_FILENO);
    pid_t child = 0;
    const int failed = posix_spawn(&child, program.c_str(), &actions, nullptr, line.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failed != 0) {
        return std::nullopt;
    }

    errors.closeEnd(1);
    ProgramEnd end;
    end.errors = readAll(errors.ends[0]);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    end.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return end;
}

} // namespace host
