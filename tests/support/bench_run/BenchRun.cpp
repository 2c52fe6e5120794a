#include "tests/support/bench_run/BenchRun.h"

#include "tests/support/bench_run/Environment.h"

#include <fstream>
#include <stdexcept>
#include <thread>

namespace bench_run {

namespace {

constexpr const char* variables[] = {"ORV_BENCH_SCENARIO", "ORV_BENCH_DIR",    "ORV_BENCH_PLAY",
                                     "COMMON_HELIX",       "VX_TRACE_LOGGING", "USERPROFILE"};

std::string scenarioText(const Target& target) {
    return "name = \"recording\"\ncpu = \"bench/app\"\nkind = \"" + std::string(target.kind) +
           "\"\npins = " + std::to_string(target.pins) + "\n[transmitter]\nfrequencies = [" +
           std::to_string(target.frequency) + "]\n[server]\nspeed = " + std::to_string(target.speed) + "\n" +
           target.more;
}

} // namespace

BenchRun::BenchRun(const Target& target) {
    std::filesystem::create_directories(benchFolder());
    test_support::writeText(folder.file("recording.toml"), scenarioText(target));
    setVariable("ORV_BENCH_SCENARIO", folder.file("recording.toml").c_str());
    setVariable("ORV_BENCH_DIR", benchFolder().c_str());
    setVariable("ORV_BENCH_PLAY", "");
    if (!target.play.empty()) {
        test_support::writeText(folder.file("play.bin"), target.play);
        setVariable("ORV_BENCH_PLAY", folder.file("play.bin").c_str());
    }
    setVariable("COMMON_HELIX", std::filesystem::path(ORV_PROGRAM_FOLDER).make_preferred().string().c_str());
    setVariable("VX_TRACE_LOGGING", "1"); // keeps the files of a destroyed channel
    setVariable("USERPROFILE", folder.path.string().c_str());
}

BenchRun::~BenchRun() {
    for (const char* name : variables) {
        setVariable(name, "");
    }
}

XmtrLibrary::XmtrLibrary() {
    if (!library.FindAndLoad("zarn_xmtr")) {
        throw std::runtime_error(library.GetLastErrorText());
    }
    object = symbol<CreateXmtrFunction>(library, "CreateXmtr")(0, 0);
}

XmtrLibrary::~XmtrLibrary() {
    symbol<DestroyXmtrFunction>(library, "DestroyXmtr")(object);
}

bool waitUntil(const std::function<bool()>& holds) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::minutes(ORV_TIME_FACTOR);
    while (!holds()) {
        if (std::chrono::steady_clock::now() > limit) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

void untilServerListens(const std::function<void()>& connect, const std::function<bool()>& refused) {
    constexpr unsigned attempts = 20;
    for (unsigned attempt = 1; attempt < attempts; ++attempt) {
        connect();
        if (!refused()) {
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
    connect();
}

} // namespace bench_run
