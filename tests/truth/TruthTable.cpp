#include "tests/truth/TruthTable.h"

#include "tests/support/scratch/TemporaryFolder.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <future>
#include <iterator>
#include <sstream>

namespace truth {

namespace {

constexpr unsigned megahertzPerRow = 10;
constexpr std::size_t lettersPerLine = 50;
constexpr std::size_t changesNamed = 20;

/// The kind of a reason, without the figures that differ between wirings.
std::string kindOf(const std::string& reason) {
    const std::string figure = " : transmitter frequency measured at ";
    const std::size_t at = reason.find(figure);
    return at == std::string::npos ? reason : reason.substr(0, at);
}

std::string readAll(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    std::erase(text, '\r');
    return text;
}

/// The letters of a table's text, by seed.
std::map<std::uint64_t, char> lettersOf(const std::string& text) {
    std::map<std::uint64_t, char> found;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        unsigned long long first = 0;
        int used = 0;
        if (std::sscanf(line.c_str(), "seeds from %llu: %n", &first, &used) == 1 && used > 0) {
            for (std::size_t i = static_cast<std::size_t>(used); i < line.size(); ++i) {
                found[first++] = line[i];
            }
        }
    }
    return found;
}

const char* nameOf(char letter) {
    for (const Outcome outcome : {Outcome::right, Outcome::thin, Outcome::refused, Outcome::wrong}) {
        if (letterOf(outcome) == letter) {
            return truth::nameOf(outcome);
        }
    }
    return "nothing";
}

Verdict judge(std::uint64_t seed, bench::ExportKind kind, const Board& board, const std::filesystem::path& folder) {
    constexpr std::uint64_t roundTrip = 20000;
    return calibrateAndJudge(drawScenario(seed, kind, board), folder, roundTrip,
                             board.unkind() ? Judging::ByTrace : Judging::ByPattern);
}

} // namespace

void TruthTable::Row::add(const Verdict& verdict) {
    ++counts.at(static_cast<std::size_t>(verdict.outcome));
    for (const double error : verdict.skewErrors) {
        skewErrors += std::fabs(error);
        worstSkewError = std::max(worstSkewError, std::fabs(error));
        ++skews;
    }
}

std::string TruthTable::Row::text(const std::string& head) const {
    char line[160];
    std::snprintf(line, sizeof line, "| %-9s | %6u | %6u | %7u | %6u |", head.c_str(), counts[0], counts[1], counts[2],
                  counts[3]);
    std::string out = line;
    if (skews != 0) {
        std::snprintf(line, sizeof line, " %5.2f | %5.2f |\n", skewErrors / skews, worstSkewError);
    } else {
        std::snprintf(line, sizeof line, " %5s | %5s |\n", "-", "-");
    }
    return out + line;
}

void TruthTable::add(std::uint64_t seed, const Verdict& verdict) {
    const unsigned rate = static_cast<unsigned>(verdict.megahertz) / megahertzPerRow * megahertzPerRow;
    byRate[rate].add(verdict);
    all.add(verdict);
    if (verdict.outcome == Outcome::refused) {
        ++reasons[kindOf(verdict.reason)];
    }
    if (letters.empty()) {
        firstSeed = seed;
    }
    letters += letterOf(verdict.outcome);
    if (verdict.outcome == Outcome::wrong) {
        wrong.push_back({seed, verdict.position.sameSlot,
                         "seed " + std::to_string(seed) + ": " + verdict.reason + "; " + verdict.description});
    }
}

unsigned TruthTable::count(Outcome outcome) const {
    return all.counts.at(static_cast<std::size_t>(outcome));
}

unsigned TruthTable::total() const {
    return static_cast<unsigned>(letters.size());
}

std::string TruthTable::text(const std::string& title) const {
    std::string out = title + "\n\n| MHz       |  right |   thin | refused |  wrong |  skew | worst |\n"
                              "|-----------|--------|--------|---------|--------|-------|-------|\n";
    for (const auto& [rate, row] : byRate) {
        out += row.text(std::to_string(rate) + "-" + std::to_string(rate + megahertzPerRow));
    }
    out += all.text("all " + std::to_string(total())) + "\nrefused for:\n";
    for (const auto& [reason, count] : reasons) {
        char line[32];
        std::snprintf(line, sizeof line, "%6u x ", count);
        out += line + reason + "\n";
    }
    out += "\n+ right, t thin, r refused, w wrong\n";
    for (std::size_t i = 0; i < letters.size(); i += lettersPerLine) {
        out += "seeds from " + std::to_string(firstSeed + i) + ": " + letters.substr(i, lettersPerLine) + "\n";
    }
    return out;
}

TruthTable judgeMany(std::uint64_t firstSeed, unsigned count, bench::ExportKind kind, const Board& board,
                     unsigned threads) {
    std::vector<Verdict> verdicts(count);
    std::atomic<unsigned> next{0};
    const auto work = [&] {
        const test_support::TemporaryFolder folder;
        for (unsigned index = next++; index < count; index = next++) {
            verdicts[index] = judge(firstSeed + index, kind, board, folder.path);
        }
    };
    std::vector<std::future<void>> workers;
    for (unsigned worker = 0; worker < threads; ++worker) {
        workers.push_back(std::async(std::launch::async, work));
    }
    for (std::future<void>& worker : workers) {
        worker.get();
    }
    TruthTable table;
    for (unsigned index = 0; index < count; ++index) {
        table.add(firstSeed + index, verdicts[index]);
    }
    return table;
}

void judgeUpTo(unsigned count, TruthTable& table, std::uint64_t firstSeed, bench::ExportKind kind, const Board& board) {
    const test_support::TemporaryFolder folder;
    for (std::uint64_t seed = firstSeed + table.total(); seed < firstSeed + count; ++seed) {
        table.add(seed, judge(seed, kind, board, folder.path));
    }
}

std::string differenceFrom(const std::filesystem::path& baseline, const std::string& text) {
    if (std::getenv("ORV_TRUTH_RENEW") != nullptr) {
        std::ofstream(baseline, std::ios::binary) << text;
        return {};
    }
    const std::string before = readAll(baseline);
    if (before == text) {
        return {};
    }
    std::string report = "Calibrations come out differently from what " + baseline.filename().string() + " says.\n";
    const std::map<std::uint64_t, char> earlier = lettersOf(before);
    std::size_t changed = 0;
    for (const auto& [seed, letter] : lettersOf(text)) {
        const auto was = earlier.find(seed);
        if (was != earlier.end() && was->second == letter) {
            continue;
        }
        if (++changed <= changesNamed) {
            report += "  seed " + std::to_string(seed) + " was " + nameOf(was != earlier.end() ? was->second : ' ') +
                      " and is " + nameOf(letter) + "\n";
        }
    }
    if (changed > changesNamed) {
        report += "  and " + std::to_string(changed - changesNamed) + " more\n";
    }
    if (changed == 0) {
        report += "  The outcome of each wiring is the same; rates, reasons or recovered skews are not.\n";
    }
    return report +
           "When that is what a change was meant to do: run this program again with ORV_TRUTH_RENEW=1 in the "
           "environment, look at what\nthe file's difference says, put the new table into "
           "docs/measurements.md, and explain each wrong case in docs/calibration.md.\nNow:\n" +
           text;
}

} // namespace truth
