#include "tests/simulation/exploration/Child.h"

#include "tests/simulation/faults/Faults.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace simulation {

namespace {

// Real time without the end of a schedule, after which a thread is stopped in something that the simulation does not know.
constexpr unsigned watchdogSeconds = 60;

constexpr int raceDetected = 66; // the exit of a process that ends with ThreadSanitizer's report

std::vector<std::string> linesOf(const std::string& text, std::size_t count) {
    std::vector<std::string> lines;
    std::size_t at = 0;
    for (std::size_t i = 0; i + 1 < count && at <= text.size(); ++i) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        lines.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    lines.push_back(at <= text.size() ? text.substr(at) : "");
    return lines;
}

} // namespace

struct Child::Report::Shared {
    std::uint64_t seed = 0;
    std::uint64_t schedules = 0;
    std::uint64_t points = 0;
    std::uint64_t switches = 0;
    std::uint64_t faults = 0;
    std::array<char, 4096> recipe{};
};

void Child::Report::begin(std::uint64_t seed, const Recipe& recipe) {
    shared->seed = seed;
    const std::string text = textOf(recipe);
    std::strncpy(shared->recipe.data(), text.c_str(), shared->recipe.size() - 1);
    alarm(watchdogSeconds);
}

bool Child::Report::end(const Outcome& outcome) {
    ++shared->schedules;
    shared->points += outcome.points;
    shared->switches += outcome.switches;
    shared->faults += Faults::instance().haveFailed() ? 1U : 0U;
    if (outcome.findings.empty()) {
        return false;
    }
    write(outcome);
    return true;
}

void Child::Report::write(const Outcome& outcome) {
    const Finding& first = outcome.findings.front();
    const std::string text = first.rule + "\n" + textOf(outcome.departures) + "\n" + first.text;
    for (std::size_t at = 0; at < text.size();) {
        const ssize_t written = ::write(pipe, text.data() + at, text.size() - at);
        if (written <= 0) {
            return;
        }
        at += static_cast<std::size_t>(written);
    }
}

Child::Child(const std::function<void(Report&)>& work) {
    void* memory = mmap(nullptr, sizeof(Report::Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    std::array<int, 2> ends{};
    if (memory == MAP_FAILED || pipe(ends.data()) != 0) {
        throw std::runtime_error("no memory or no pipe for a child process");
    }
    report.shared = new (memory) Report::Shared;
    process = fork();
    if (process < 0) {
        throw std::runtime_error("no child process");
    }
    if (process == 0) {
        close(ends[0]);
        report.pipe = ends[1];
        Scheduler::instance().onStuck = [this](const Outcome& outcome) {
            report.end(outcome);
            _exit(EXIT_SUCCESS);
        };
        work(report);
        _exit(EXIT_SUCCESS);
    }
    close(ends[1]);
    report.pipe = ends[0];
}

Child::~Child() {
    munmap(report.shared, sizeof(Report::Shared));
    close(report.pipe);
}

void Child::wait() {
    std::string text;
    std::array<char, 4096> buffer{};
    for (ssize_t size = 0; (size = read(report.pipe, buffer.data(), buffer.size())) > 0;) {
        text.append(buffer.data(), static_cast<std::size_t>(size));
    }
    int status = 0;
    waitpid(process, &status, 0);
    if (text.empty() && WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS) {
        return;
    }
    Failure failure;
    failure.recipe = recipeOf(report.shared->recipe.data());
    if (text.empty()) {
        const bool late = WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM;
        const bool isRace = WIFEXITED(status) && WEXITSTATUS(status) == raceDetected;
        failure.rule = late ? "stuck outside of the simulation" : isRace ? "data race" : "crash";
        failure.text =
            WIFSIGNALED(status) ? strsignal(WTERMSIG(status)) : "exit " + std::to_string(WEXITSTATUS(status));
    } else {
        const std::vector<std::string> lines = linesOf(text, 3);
        failure.rule = lines.at(0);
        failure.departures = departuresOf(lines.at(1));
        failure.text = lines.at(2);
    }
    found = std::move(failure);
}

std::uint64_t Child::schedules() const {
    return report.shared->schedules;
}

std::uint64_t Child::points() const {
    return report.shared->points;
}

std::uint64_t Child::switches() const {
    return report.shared->switches;
}

std::uint64_t Child::faults() const {
    return report.shared->faults;
}

std::uint64_t Child::lastSeed() const {
    return report.shared->seed;
}

} // namespace simulation
