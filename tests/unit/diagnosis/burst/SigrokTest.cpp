#include "diagnosis/burst/BurstExport.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/unit/diagnosis/files/DrawnFiles.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>

// A dump is imported by sigrok-cli, and every sample that it then holds is compared with the burst's.

namespace diagnosis {
namespace {

std::string readAll(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

/// Levels in runs of a few samples, as a trace has them.
std::string randomLevels(std::mt19937& random, std::size_t samples) {
    std::string levels;
    for (char level = '0'; levels.size() < samples; level = level == '0' ? '1' : '0') {
        levels.append(1 + random() % 30, level);
    }
    return levels.substr(0, samples);
}

/// A byte for each sample as sigrok takes them, bit i for the i-th wire. `rate` is the one that it has to report.
std::string importedBySigrok(const test_support::TemporaryFolder& folder, const std::filesystem::path& file,
                             const std::string& input, const std::string& rate) {
    const std::string out = (folder.path / "samples").string();
    const std::string command = "sigrok-cli -I '" + input + "' -i '" + file.string() + "' -O binary -o '" + out +
                                "' 2>'" + (folder.path / "errors").string() + "'";
    const int status = std::system(command.c_str());
    EXPECT_EQ(status, 0) << "is the package sigrok-cli installed (tools/install-packages test)? "
                         << readAll(folder.path / "errors");
    std::string bytes = readAll(out);
    const std::string head = "META samplerate: " + rate + "\n";
    EXPECT_EQ(bytes.substr(0, head.size()), head);
    return bytes.substr(std::min(head.size(), bytes.size()));
}

TEST(Sigrok, ReadsTheSamplesThatTheBurstHolds) {
    std::mt19937 random(4);
    std::vector<std::string> levels;
    for (int pin = 0; pin < 8; ++pin) {
        levels.push_back(randomLevels(random, 8192));
    }
    const Burst burst = parseBurst(drawn::burst(levels), "x");
    const std::size_t from = 500;
    const std::size_t to = 1500;
    const BurstPart part = partOf(burst, from, to, "");
    const test_support::TemporaryFolder folder;
    std::ofstream out(folder.path / "burst.vcd", std::ios::binary);
    writeVcd(out, burst, part);
    out.close();
    const std::string bytes = importedBySigrok(folder, folder.path / "burst.vcd", "vcd", "1000000000000");
    const std::size_t start = picosecondsOf(burst, from);
    ASSERT_EQ(bytes.size(), picosecondsOf(burst, to) - start);
    for (std::size_t sample = from; sample < to; ++sample) {
        unsigned expected = 0;
        for (std::size_t pin = 0; pin < levels.size(); ++pin) {
            expected |= levels[pin][sample] == '1' ? 1U << pin : 0U;
        }
        for (const std::size_t at : {picosecondsOf(burst, sample), picosecondsOf(burst, sample + 1) - 1}) {
            ASSERT_EQ(static_cast<unsigned char>(bytes[at - start]), expected) << "sample " << sample;
        }
    }
}

/// A dump has the times of its wires, and sigrok makes a sample of each picosecond. From values it takes the unit's own
/// samples, with the options that docs/report.md gives.
TEST(Sigrok, TakesValuesSampleBySample) {
    std::mt19937 random(5);
    std::vector<std::string> levels;
    for (int pin = 0; pin < 5; ++pin) {
        levels.push_back(randomLevels(random, 4000));
    }
    const Burst burst = parseBurst(drawn::burst(levels), "x");
    const test_support::TemporaryFolder folder;
    std::ofstream out(folder.path / "burst.csv", std::ios::binary);
    writeCsv(out, burst, partOf(burst, 0, 0, ""));
    out.close();
    const std::string bytes = importedBySigrok(
        folder, folder.path / "burst.csv", "csv:header=yes:column_formats=2-,*l:samplerate=1400000000", "1400000000");
    ASSERT_EQ(bytes.size(), 4000U);
    for (std::size_t sample = 0; sample < bytes.size(); ++sample) {
        unsigned expected = 0;
        for (std::size_t pin = 0; pin < levels.size(); ++pin) {
            expected |= levels[pin][sample] == '1' ? 1U << pin : 0U;
        }
        ASSERT_EQ(static_cast<unsigned char>(bytes[sample]), expected) << "sample " << sample;
    }
}

} // namespace
} // namespace diagnosis
