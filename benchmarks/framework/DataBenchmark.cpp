#include "bench/scenarios/Scenario.h"
#include "bench/siblings/XmtrLibrary.h"
#include "benchmarks/framework/Ratios.h"
#include "benchmarks/framework/StubUnit.h"
#include "benchmarks/support/Memory.h"
#include "benchmarks/support/ProcessorTime.h"
#include "common/source/source_utilities/InputFile.h"
#include "common/source/source_utilities/uEnvironment.h"
#include "rcvr/framework/CChannelDriver.h"
#include "rcvr/framework/CReceiver.h"
#include "tdf/TdfFile.h"

#include <benchmark/benchmark.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>
#include <vector>

// Reading and saving a recording of 128 MiB, against programs that only move as many bytes.

using namespace Vx::Qrs::Trace;
namespace fs = std::filesystem;

namespace {

constexpr std::uint32_t mebi = 1024 * 1024;
constexpr std::uint32_t recordingSize = 128 * mebi;
constexpr unsigned chunkSamples = 8192;
constexpr std::size_t chunkBytes = chunkSamples * 8;
constexpr unsigned smallSamples = 1024; // 8 KiB

// A receiver whose one channel has the recording, in a folder of its own.
class Session {
public:
    static Session& get() {
        static Session session;
        return session;
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session() {
        DestroyRcvr(receiver);
        std::error_code none;
        fs::remove_all(folder, none);
    }

    std::string file(const char* name) const { return (folder / name).string(); }
    std::string recording() const { return file("recording.bin"); }
    CChannelDriver& channel() { return *driver; }

private:
    Session() {
        fs::create_directories(folder);
        VX_QRS::uEnvironment::set("USERPROFILE", folder.string().c_str());
        std::vector<std::uint64_t> samples(mebi / 8);
        std::mt19937_64 random(128);
        std::ofstream out(recording(), std::ios::binary);
        for (std::uint32_t written = 0; written < recordingSize; written += mebi) {
            for (std::uint64_t& sample : samples) {
                sample = random();
            }
            out.write(reinterpret_cast<const char*>(samples.data()), mebi);
        }
        out.close();
        if (!out) {
            throw std::runtime_error("there is not enough space for the recording");
        }
        StubUnit::get().fileStem = file("recording");
        StubUnit::get().bytes = recordingSize;
        receiver = CreateRcvr();
        driver = receiver->AllocateChannel("bench/app", &xmtr, 0, 0);
        // The folder has no settings file; the defaults are enough.
        driver->SetConfiguration(file("channel.xml").c_str());
    }

    fs::path folder = fs::temp_directory_path() /
                      ("benchmark-framework-" + std::to_string(VX_QRS::uEnvironment::getCurrentProcessId()));
    bench::XmtrLibrary xmtr{bench::Scenario(), folder / "side.port"};
    CReceiver* receiver = nullptr;
    CChannelDriver* driver = nullptr;
};

// Times one run, children included, into a file that is new each time.
template <class Run>
void timeWithNewTarget(benchmark::State& state, const std::string& target, Run&& run) {
    double used = 0.0;
    for (auto unused : state) {
        fs::remove(target);
        const double usedBefore = benchmarks::processorSeconds();
        const auto begin = std::chrono::steady_clock::now();
        run();
        state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
        used += benchmarks::processorSeconds() - usedBefore;
        if (fs::file_size(target) < recordingSize) {
            state.SkipWithError("bytes are missing");
        }
    }
    state.counters["processor"] = used / static_cast<double>(state.max_iterations);
    fs::remove(target);
}

void copyByProgram(benchmark::State& state) {
    Session& session = Session::get();
    const std::string target = session.file("copy.bin");
    const std::string command = "cp " + session.recording() + " " + target;
    timeWithNewTarget(state, target, [&] {
        if (std::system(command.c_str()) != 0) {
            state.SkipWithError("cp failed");
        }
    });
}

void copyByLoop(benchmark::State& state) {
    Session& session = Session::get();
    const std::string target = session.file("copy.bin");
    timeWithNewTarget(state, target, [&] {
        alignas(4096) static std::array<char, chunkBytes> chunk;
        std::FILE* in = std::fopen(session.recording().c_str(), "rb");
        std::FILE* out = std::fopen(target.c_str(), "wb");
        std::setvbuf(in, nullptr, _IONBF, 0);
        std::setvbuf(out, nullptr, _IONBF, 0);
        for (std::size_t got = 0; (got = std::fread(chunk.data(), 1, chunk.size(), in)) != 0;) {
            std::fwrite(chunk.data(), 1, got, out);
        }
        std::fclose(in);
        std::fclose(out);
    });
}

void saveRaw(benchmark::State& state) {
    Session& session = Session::get();
    const std::string target = session.file("saved.bin");
    timeWithNewTarget(state, target, [&] { session.channel().SaveFile(target, CChannelDriver::eSaveRaw); });
}

void saveTraceDataFile(benchmark::State& state) {
    Session& session = Session::get();
    const std::string target = session.file("saved.tdf");
    timeWithNewTarget(state, target, [&] {
        OrvRcvr::TdfFile::createFile(target.c_str());
        session.channel().SaveFile(target, CChannelDriver::eSaveTraceDataFile);
    });
}

void saveMemory(benchmark::State& state) {
    Session& session = Session::get();
    const std::string target = session.file("saved.bin");
    for (auto unused : state) {
        const std::size_t idle = benchmarks::residentBytes();
        if (!benchmarks::forgetPeak()) {
            state.SkipWithError("the system does not forget the peak");
        }
        session.channel().SaveFile(target, CChannelDriver::eSaveRaw);
        const std::size_t peak = benchmarks::peakResidentBytes();
        state.counters["peak"] = static_cast<double>(peak > idle ? peak - idle : 0);
    }
    fs::remove(target);
}

void readByLoop(benchmark::State& state) {
    Session& session = Session::get();
    std::vector<std::uint64_t> chunk(chunkSamples);
    for (auto unused : state) {
        std::FILE* in = std::fopen(session.recording().c_str(), "rb");
        while (std::fread(chunk.data(), 1, chunkBytes, in) != 0) {
            benchmark::DoNotOptimize(chunk.data());
        }
        std::fclose(in);
    }
}

void read(benchmark::State& state) {
    Session& session = Session::get();
    std::vector<std::uint64_t> chunk(chunkSamples);
    for (auto unused : state) {
        for (unsigned start = 0; start < recordingSize / 8; start += chunkSamples) {
            unsigned count = 0;
            session.channel().SeekReadTraceData(start, chunkSamples, chunk.data(), &count);
            if (count != chunkSamples) {
                state.SkipWithError("samples are missing");
            }
            benchmark::DoNotOptimize(chunk.data());
        }
    }
}

void smallReads(benchmark::State& state) {
    Session& session = Session::get();
    std::vector<std::uint64_t> part(smallSamples);
    for (auto unused : state) {
        for (unsigned start = 0; start < recordingSize / 8; start += smallSamples) {
            unsigned count = 0;
            session.channel().SeekReadTraceData(start, smallSamples, part.data(), &count);
            benchmark::DoNotOptimize(part.data());
        }
    }
}

void smallReadsByLoop(benchmark::State& state) {
    Session& session = Session::get();
    std::vector<std::uint64_t> part(smallSamples);
    VX_QRS::InputFile file;
    file.open(session.recording());
    for (auto unused : state) {
        for (std::uint64_t at = 0; at < recordingSize; at += smallSamples * 8) {
            file.readAt(at, part.data(), smallSamples * 8);
            benchmark::DoNotOptimize(part.data());
        }
    }
}

BENCHMARK(copyByProgram)->Iterations(3)->UseManualTime();
BENCHMARK(copyByLoop)->Iterations(3)->UseManualTime();
BENCHMARK(saveRaw)->Iterations(3)->UseManualTime();
BENCHMARK(saveTraceDataFile)->Iterations(3)->UseManualTime();
BENCHMARK(saveMemory)->Iterations(1);
BENCHMARK(readByLoop)->Iterations(5)->UseRealTime();
BENCHMARK(read)->Iterations(5)->UseRealTime();
BENCHMARK(smallReads)->Iterations(5);
BENCHMARK(smallReadsByLoop)->Iterations(5);

} // namespace

void reportData(benchmarks::Report& report) {
    using namespace benchmarks;
    const Measured raw = secondsOf("saveRaw/iterations:3/manual_time");
    const Measured traceDataFile = secondsOf("saveTraceDataFile/iterations:3/manual_time");
    const Measured program = secondsOf("copyByProgram/iterations:3/manual_time");
    report.ratio("raw save of 128 MiB, time against cp", raw, program, atMost(1.5));
    report.ratio("raw save of 128 MiB, processor time against cp", processorOf("saveRaw/iterations:3/manual_time"),
                 processorOf("copyByProgram/iterations:3/manual_time"), atMost(1.4));
    report.ratio("save of 128 MiB into a trace data file, time against cp", traceDataFile, program, atMost(1.5));
    report.ratio("save of 128 MiB into a trace data file, processor time against cp",
                 processorOf("saveTraceDataFile/iterations:3/manual_time"),
                 processorOf("copyByProgram/iterations:3/manual_time"), atMost(1.7));
    report.ratio("raw save of 128 MiB, processor time against a copying loop",
                 processorOf("saveRaw/iterations:3/manual_time"), processorOf("copyByLoop/iterations:3/manual_time"));
    report.ratio("save of 128 MiB into a trace data file, processor time against a copying loop",
                 processorOf("saveTraceDataFile/iterations:3/manual_time"),
                 processorOf("copyByLoop/iterations:3/manual_time"));
    report.ratio("a copying loop, processor time against cp", processorOf("copyByLoop/iterations:3/manual_time"),
                 processorOf("copyByProgram/iterations:3/manual_time"));
    report.figure("memory above idle during a raw save", counterOf("saveMemory/iterations:1", "peak", 1.0 / 1024),
                  "KiB", atMost(512));
    report.ratio("read of 128 MiB in chunks of 8192 samples, time against fread alone",
                 secondsOf("read/iterations:5/real_time"), secondsOf("readByLoop/iterations:5/real_time"), atMost(1.2));
    report.ratio("read of 128 MiB in parts of 8 KiB, processor time against pread alone",
                 processorOf("smallReads/iterations:5"), processorOf("smallReadsByLoop/iterations:5"), atMost(1.4));
}
