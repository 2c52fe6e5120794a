#include "benchmarks/calibration/Ratios.h"
#include "client/Pattern.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

// The file of a verification: 512 packets of a ramp with a synchronisation sequence every 64 words.

namespace {

using namespace VX_QRS::ORV::CLIENT;

constexpr std::uint32_t packets = 512;
constexpr double bytes = packets * 512.0;

class VerificationFile {
public:
    VerificationFile()
        : path((std::filesystem::temp_directory_path() / ("orv_verify_" + std::to_string(std::random_device{}())))
                   .string()) {
        constexpr std::uint16_t ramp[] = {0x0123, 0x4567, 0x89AB, 0xCDEF};
        constexpr std::uint16_t sequence[] = {0, 0, 0, 0, 0, 0x0FF0, 0x8000};
        std::vector<std::uint16_t> words;
        std::size_t sent = 0;
        std::size_t inSequence = std::size(sequence);
        while (words.size() < packets * 256) {
            if (words.size() % 256 == 255) {
                words.push_back(0x08FF);
            } else if (inSequence < std::size(sequence)) {
                words.push_back(sequence[inSequence++]);
            } else {
                words.push_back(ramp[sent++ % 4]);
                inSequence = sent % 64 == 0 ? 0 : inSequence;
            }
        }
        std::ofstream out(path, std::ios::binary);
        for (const std::uint16_t word : words) {
            out.put(static_cast<char>(word & 0xFF)).put(static_cast<char>(word >> 8));
        }
    }
    ~VerificationFile() { std::remove(path.c_str()); }
    VerificationFile(const VerificationFile&) = delete;
    VerificationFile& operator=(const VerificationFile&) = delete;
    const std::string path;
};

void verify512Packets(benchmark::State& state) {
    const VerificationFile file;
    const std::unique_ptr<Pattern> pattern(createPattern("ramp", 4));
    std::uint32_t trace = 0;
    std::uint32_t other = 0;
    std::uint32_t data = 0;
    std::uint32_t sync = 0;
    std::uint32_t zero = 0;
    for (auto _ : state) {
        verifyPatternFile(*pattern, file.path.c_str(), 0, packets, trace, other, data, sync, zero);
    }
    if (trace != packets || data + sync + zero != packets * 255) {
        throw std::logic_error("the file is not what it should be");
    }
}
BENCHMARK(verify512Packets)->UseRealTime();

} // namespace

void reportVerify(benchmarks::Report& report) {
    using namespace benchmarks;
    report.figure("verification of 512 packets, by processor time",
                  inverse(processorOf("verify512Packets/real_time", 1.0 / bytes)), "byte/s", atLeast(2e9));
}
