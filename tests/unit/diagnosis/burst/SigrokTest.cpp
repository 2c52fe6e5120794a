#include "diagnosis/burst/BurstExport.h"
#include "diagnosis/burst/SigrokSession.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/unit/diagnosis/files/DrawnFiles.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>
#include <sstream>

// A dump is imported by sigrok-cli, and every sample that it then holds is compared with the burst's.

namespace diagnosis {
namespace {

std::string readAll(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

unsigned levelsAt(const std::vector<std::string>& levels, std::size_t sample) {
    unsigned bits = 0;
    for (std::size_t pin = 0; pin < levels.size(); ++pin) {
        bits |= levels[pin][sample] == '1' ? 1U << pin : 0U;
    }
    return bits;
}

/// Levels in runs of a few samples, as a trace has them.
std::string randomLevels(std::mt19937& random, std::size_t samples) {
    std::string levels;
    for (char level = '0'; levels.size() < samples; level = level == '0' ? '1' : '0') {
        levels.append(1 + random() % 30, level);
    }
    return levels.substr(0, samples);
}

/// A byte for each sample as sigrok takes them, bit i for the i-th wire. `rate` is the one that it has to report; of a
/// session, which needs no `input` format, it reports none here.
std::string importedBySigrok(const test_support::TemporaryFolder& folder, const std::filesystem::path& file,
                             const std::string& input, const std::string& rate) {
    const std::string out = (folder.path / "samples").string();
    const std::string command = "sigrok-cli " + (input.empty() ? "" : "-I '" + input + "'") + " -i '" + file.string() +
                                "' -O binary -o '" + out + "' 2>'" + (folder.path / "errors").string() + "'";
    const int status = std::system(command.c_str());
    EXPECT_EQ(status, 0) << "is the package sigrok-cli installed (tools/install-packages test)? "
                         << readAll(folder.path / "errors");
    std::string bytes = readAll(out);
    const std::string head = rate.empty() ? "" : "META samplerate: " + rate + "\n";
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

/// A session needs no options: it has the rate and the names itself.
TEST(Sigrok, TakesASessionSampleBySampleWithItsNames) {
    std::mt19937 random(6);
    std::vector<std::string> levels;
    for (int pin = 0; pin < 8; ++pin) {
        levels.push_back(randomLevels(random, 8192));
    }
    const Burst burst = parseBurst(drawn::burst(levels), "x");
    const test_support::TemporaryFolder folder;
    const std::size_t from = 100;
    std::ofstream out(folder.path / "burst.sr", std::ios::binary);
    writeSigrokSession(out, burst, partOf(burst, from, 0, ""));
    out.close();
    const std::string bytes = importedBySigrok(folder, folder.path / "burst.sr", "", "");
    ASSERT_EQ(bytes.size(), 8192 - from);
    for (std::size_t sample = 0; sample < bytes.size(); ++sample) {
        ASSERT_EQ(static_cast<unsigned char>(bytes[sample]), levelsAt(levels, from + sample)) << sample;
    }
    const std::string shown = (folder.path / "shown").string();
    const std::string command =
        "sigrok-cli -i '" + (folder.path / "burst.sr").string() + "' --show >'" + shown + "' 2>&1";
    ASSERT_EQ(std::system(command.c_str()), 0) << readAll(shown);
    for (const char* text : {"Samplerate: 1400000000", "CLK", "D0", "Logic sample count: 8092"}) {
        EXPECT_THAT(readAll(shown), testing::HasSubstr(text));
    }
}

/// The same part is the same file, so that results can be compared.
TEST(Sigrok, ASessionHasNoDateOfItsOwn) {
    const Burst burst = parseBurst(drawn::burst({"0011", "0101"}), "x");
    std::ostringstream once;
    writeSigrokSession(once, burst, partOf(burst, 0, 0, "data1,clock"));
    EXPECT_THAT(once.str(), testing::HasSubstr("\ntotal probes=2\nsamplerate=1400000000\ntotal analog=0\n"
                                               "probe1=D0\nprobe2=CLK\nunitsize=1\n"));
    EXPECT_THAT(once.str(), testing::HasSubstr(std::string("logic-1-1") + '\0' + "\x01\x02\x03"));
}

} // namespace
} // namespace diagnosis
