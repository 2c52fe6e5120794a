#include "tests/road/Shell.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

struct RunningProgram::State {
    pid_t process = -1;
    bool waited = false;
};

RunningProgram::RunningProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                               const std::filesystem::path& output, const std::filesystem::path& errors,
                               const std::filesystem::path& folder)
    : state(std::make_unique<State>()) {
    std::vector<std::string> texts{program.string()};
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);

    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    constexpr int fresh = O_WRONLY | O_CREAT | O_TRUNC;
    if (output.empty()) {
        posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/full", O_WRONLY, 0);
    } else {
        posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, output.c_str(), fresh, 0644);
    }
    posix_spawn_file_actions_addopen(&files, STDERR_FILENO, errors.c_str(), fresh, 0644);
    if (!folder.empty()) {
        posix_spawn_file_actions_addchdir_np(&files, folder.c_str());
    }
    const int failed = posix_spawn(&state->process, program.c_str(), &files, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&files);
    if (failed != 0) {
        throw std::runtime_error("cannot start " + program.string());
    }
}

RunningProgram::~RunningProgram() {
    if (!state->waited) {
        end();
        wait();
    }
}

bool RunningProgram::canInterrupt() {
    return true;
}

bool RunningProgram::interrupt() {
    return kill(state->process, SIGINT) == 0;
}

void RunningProgram::end() {
    kill(state->process, SIGKILL);
}

int RunningProgram::wait() {
    int status = 0;
    while (waitpid(state->process, &status, 0) == -1 && errno == EINTR) {
    }
    state->waited = true;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
