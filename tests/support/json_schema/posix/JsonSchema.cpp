#include "tests/support/json_schema/JsonSchema.h"

#include <csignal>
#include <fcntl.h>
#include <mutex>
#include <spawn.h>
#include <stdexcept>
#include <string_view>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test_support {

namespace {

/// The validator as a process of its own. Loading its modules takes far longer than most checks, so one process serves
/// all checks of a test program.
class Validator {
public:
    Validator() {
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
            throw std::runtime_error("no connection to the validator");
        }
        connection = ends[0];
        start(ends[1]);
        close(ends[1]);
    }
    ~Validator() {
        close(connection);
        if (process > 0) {
            waitpid(process, nullptr, 0);
        }
    }
    Validator(const Validator&) = delete;
    Validator& operator=(const Validator&) = delete;

    std::string faults(const std::string& name, const std::string& json) {
        send(name + " " + std::to_string(json.size()) + "\n" + json);
        std::string size;
        for (std::string digit = receive(1); digit != "\n"; digit = receive(1)) {
            size += digit;
        }
        return receive(std::stoul(size));
    }

private:
    void start(int theirs) {
        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_adddup2(&files, theirs, STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&files, theirs, STDOUT_FILENO);
        std::string program = "/usr/bin/python3", script = ORV_SCHEMA_VALIDATOR, folder = ORV_SCHEMA_FOLDER;
        char* const words[] = {program.data(), script.data(), folder.data(), nullptr};
        const int failed = posix_spawn(&process, program.c_str(), &files, nullptr, words, environ);
        posix_spawn_file_actions_destroy(&files);
        if (failed != 0) {
            process = -1;
        }
    }

    void send(std::string_view bytes) const {
        while (!bytes.empty()) {
            const ssize_t sent = ::send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (sent <= 0) {
                throw std::runtime_error("the validator has ended");
            }
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        }
    }

    std::string receive(std::size_t size) const {
        std::string bytes(size, '\0');
        for (std::size_t have = 0; have < size;) {
            const ssize_t got = recv(connection, bytes.data() + have, size - have, 0);
            if (got <= 0) {
                throw std::runtime_error("the validator has ended");
            }
            have += static_cast<std::size_t>(got);
        }
        return bytes;
    }

    int connection = -1;
    pid_t process = -1;
};

} // namespace

std::string schemaFaults(const std::string& name, const std::string& json) {
    static std::mutex one;
    const std::lock_guard guard(one);
    try {
        static Validator validator;
        return validator.faults(name, json);
    } catch (const std::exception& error) {
        return std::string("the validator cannot be run: ") + error.what();
    }
}

} // namespace test_support
