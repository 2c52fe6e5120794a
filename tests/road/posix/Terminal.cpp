#include "tests/road/posix/Terminal.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <pty.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

Terminal::Terminal(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                   const std::filesystem::path& errors) {
    std::vector<std::string> texts{program.string()};
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& each : texts) {
        pointers.push_back(each.data());
    }
    pointers.push_back(nullptr);
    winsize size{25, 80, 0, 0};
    process = forkpty(&keys, nullptr, nullptr, &size);
    if (process == -1) {
        throw std::runtime_error("no terminal can be had");
    }
    if (process == 0) {
        if (!errors.empty()) {
            dup2(open(errors.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644), STDERR_FILENO);
        }
        execv(program.c_str(), pointers.data());
        _exit(127);
    }
}

Terminal::~Terminal() {
    if (process != -1) {
        kill(process, SIGKILL);
        exitCode();
    }
    close();
}

bool Terminal::read() {
    char buffer[4096];
    const ssize_t count = ::read(keys, buffer, sizeof buffer);
    if (count > 0) {
        text.append(buffer, static_cast<std::size_t>(count));
    }
    // A terminal whose program has ended fails to be read.
    return count > 0 || (count == -1 && errno == EINTR);
}

bool Terminal::waitFor(const std::string& wanted) {
    while (text.find(wanted) == std::string::npos) {
        if (!read()) {
            return false;
        }
    }
    return true;
}

void Terminal::waitForEnd() {
    while (read()) {
    }
}

void Terminal::pressCtrlC() {
    if (write(keys, "\x03", 1) != 1) {
        throw std::runtime_error("the terminal takes no key");
    }
}

void Terminal::close() {
    if (keys != -1) {
        ::close(keys);
    }
    keys = -1;
}

int Terminal::exitCode() {
    int status = 0;
    while (waitpid(process, &status, 0) == -1 && errno == EINTR) {
    }
    process = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string Terminal::lineBefore(std::size_t at) const {
    const std::size_t end = text.rfind('\n', at);
    return text.substr(end == std::string::npos ? 0 : end + 1, at - (end == std::string::npos ? 0 : end + 1));
}
