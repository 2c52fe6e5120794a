#include "benchmarks/support/Report.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

namespace benchmarks {

namespace {

constexpr int defaultRounds = 7;
constexpr const char* processor = "processor"; // counter

struct Run {
    double seconds = 0.0;
    std::map<std::string, double> counters;
};
using Round = std::map<std::string, Run>;

// Keeps the results of one round and prints nothing; the output is the table at the end.
class Collector : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<Run>& reports) override {
        for (const Run& report : reports) {
            const std::string name = report.benchmark_name();
            if (report.error_occurred) {
                errors[name] = report.error_message;
                continue;
            }
            benchmarks::Run& run = round[name];
            run.counters[processor] = report.GetAdjustedCPUTime() / benchmark::GetTimeUnitMultiplier(report.time_unit);
            run.seconds = report.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(report.time_unit);
            for (const auto& [key, counter] : report.counters) {
                run.counters[key] = counter.value;
            }
        }
    }

    Round round;
    std::map<std::string, std::string> errors;
};

std::optional<double> valueOf(const Measured& measured, const Round& round) {
    const auto run = round.find(measured.benchmark);
    if (run == round.end()) {
        return std::nullopt;
    }
    double value = run->second.seconds;
    if (!measured.counter.empty()) {
        const auto counter = run->second.counters.find(measured.counter);
        if (counter == run->second.counters.end()) {
            return std::nullopt;
        }
        value = counter->second;
    }
    return measured.inverse ? measured.scale / value : measured.scale * value;
}

struct Spread {
    double low = 0.0;
    double median = 0.0;
    double high = 0.0;
};

std::optional<Spread> spreadOf(std::vector<double> values) {
    if (values.empty()) {
        return std::nullopt;
    }
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    const double median = values.size() % 2 != 0 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
    return Spread{values.front(), median, values.back()};
}

// Three significant digits; large numbers with a letter for the power of thousand.
std::string shown(double value) {
    constexpr std::array<const char*, 5> powers{"", "k", "M", "G", "T"};
    std::size_t power = 0;
    while (std::abs(value) >= 1000 && power + 1 < powers.size()) {
        value /= 1000;
        ++power;
    }
    const double size = std::abs(value);
    const int decimals = size >= 100 ? 0 : size >= 10 ? 1 : size >= 1 ? 2 : 3;
    std::array<char, 48> text{};
    if (size != 0 && size < 0.01) {
        std::snprintf(text.data(), text.size(), "%.3g", value);
    } else {
        std::snprintf(text.data(), text.size(), "%.*f%s", decimals, value, powers[power]);
    }
    return text.data();
}

std::string shown(const Target& target) {
    switch (target.kind) {
    case Target::Kind::AtLeast:
        return "at least " + shown(target.bound);
    case Target::Kind::AtMost:
        return "at most " + shown(target.bound);
    case Target::Kind::None:
        break;
    }
    return "";
}

const char* reached(const Target& target, double value) {
    switch (target.kind) {
    case Target::Kind::AtLeast:
        return value >= target.bound ? "yes" : "no";
    case Target::Kind::AtMost:
        return value <= target.bound ? "yes" : "no";
    case Target::Kind::None:
        break;
    }
    return "";
}

// Removes "--rounds=N" from the arguments. Empty when N is not a positive number.
std::optional<int> takeRounds(std::vector<char*>& arguments) {
    constexpr std::string_view option = "--rounds=";
    int rounds = defaultRounds;
    for (auto at = arguments.begin(); at != arguments.end();) {
        const std::string_view argument = *at;
        if (!argument.starts_with(option)) {
            ++at;
            continue;
        }
        const char* const end = argument.data() + argument.size();
        const auto parsed = std::from_chars(argument.data() + option.size(), end, rounds);
        if (parsed.ec != std::errc{} || parsed.ptr != end || rounds < 1) {
            return std::nullopt;
        }
        at = arguments.erase(at);
    }
    return rounds;
}

} // namespace

Measured secondsOf(std::string benchmark, double scale) {
    return counterOf(std::move(benchmark), {}, scale);
}

Measured processorOf(std::string benchmark, double scale) {
    return counterOf(std::move(benchmark), processor, scale);
}

Measured inverse(Measured measured) {
    measured.inverse = !measured.inverse;
    measured.scale = 1.0 / measured.scale;
    return measured;
}

Measured perSecondOf(std::string benchmark, double amount) {
    return {.benchmark = std::move(benchmark), .counter = {}, .inverse = true, .scale = amount};
}

Measured counterOf(std::string benchmark, std::string counter, double scale) {
    return {.benchmark = std::move(benchmark), .counter = std::move(counter), .inverse = false, .scale = scale};
}

Target atLeast(double bound) {
    return {Target::Kind::AtLeast, bound};
}

Target atMost(double bound) {
    return {Target::Kind::AtMost, bound};
}

void Report::ratio(std::string name, Measured of, Measured against, Target target) {
    rows.push_back({std::move(name), std::move(of), std::move(against), "", target});
}

void Report::figure(std::string name, Measured what, std::string unit, Target target) {
    rows.push_back({std::move(name), std::move(what), {}, std::move(unit), target});
}

int Report::run(int argc, char** argv) {
    std::vector<char*> arguments(argv, argv + argc);
    const std::optional<int> rounds = takeRounds(arguments);
    // Before the user's options, which take precedence.
    std::string minTime = "--benchmark_min_time=0.1";
    arguments.insert(arguments.begin() + 1, minTime.data());
    int left = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);
    benchmark::Initialize(&left, arguments.data());
    if (!rounds || benchmark::ReportUnrecognizedArguments(left, arguments.data())) {
        std::fprintf(stderr, "usage: %s [--rounds=N] [--benchmark_filter=REGEX] [--benchmark_min_time=SECONDS]\n",
                     *argv);
        return 2;
    }

    std::vector<Round> measured;
    std::map<std::string, std::string> errors;
    for (int round = 1; round <= *rounds; ++round) {
        std::fprintf(stderr, "round %d of %d\n", round, *rounds);
        Collector collector;
        benchmark::RunSpecifiedBenchmarks(&collector);
        measured.push_back(std::move(collector.round));
        errors.merge(collector.errors);
    }
    benchmark::Shutdown();

    std::printf("%-80s %10s %-8s %-18s %-8s %s\n", "median of the rounds", "measured", "", "target", "reached",
                "lowest .. highest");
    for (const Row& row : rows) {
        std::vector<double> values;
        for (const Round& round : measured) {
            const auto of = valueOf(row.of, round);
            const auto against = row.against.benchmark.empty() ? 1.0 : valueOf(row.against, round);
            if (of && against) {
                values.push_back(*of / *against);
            }
        }
        const auto spread = spreadOf(std::move(values));
        if (!spread) {
            std::printf("%-80s %10s %-8s %s\n", row.name.c_str(), "-", "", "not measured");
            continue;
        }
        std::printf("%-80s %10s %-8s %-18s %-8s %s .. %s\n", row.name.c_str(), shown(spread->median).c_str(),
                    row.unit.c_str(), shown(row.target).c_str(), reached(row.target, spread->median),
                    shown(spread->low).c_str(), shown(spread->high).c_str());
    }
    for (const auto& [name, message] : errors) {
        std::printf("%s failed: %s\n", name.c_str(), message.c_str());
    }
    return errors.empty() ? 0 : 1;
}

} // namespace benchmarks
