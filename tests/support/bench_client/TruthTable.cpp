#include "tests/support/bench_client/TruthTable.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace bench_client {

void TruthTable::add(double megahertz, Outcome outcome, const std::string& reason) {
    const auto index = static_cast<std::size_t>(outcome);
    ++byRate[static_cast<unsigned>(megahertz / 10.0) * 10].at(index);
    ++totals.at(index);
    if (!reason.empty()) {
        ++reasons[reason];
    }
}

void TruthTable::addSkewError(double samples) {
    skewErrors += std::fabs(samples);
    worstSkewError = std::max(worstSkewError, std::fabs(samples));
    ++skews;
}

unsigned TruthTable::count(Outcome outcome) const {
    return totals.at(static_cast<std::size_t>(outcome));
}

std::string TruthTable::text(const std::string& title) const {
    std::string out = title + "\n      MHz    right     thin  refused    wrong\n";
    char line[160];
    for (const auto& [rate, counts] : byRate) {
        std::snprintf(line, sizeof line, "%4u-%-4u %8u %8u %8u %8u\n", rate, rate + 10, counts[0], counts[1], counts[2],
                      counts[3]);
        out += line;
    }
    std::snprintf(line, sizeof line, "all       %8u %8u %8u %8u\n", totals[0], totals[1], totals[2], totals[3]);
    out += line;
    if (skews != 0) {
        std::snprintf(line, sizeof line,
                      "recovered skew against the wiring's: mean error %.2f, worst %.2f samples (%u pins)\n",
                      skewErrors / skews, worstSkewError, skews);
        out += line;
    }
    for (const auto& [reason, count] : reasons) {
        std::snprintf(line, sizeof line, "%8u x ", count);
        out += line + reason + "\n";
    }
    return out;
}

} // namespace bench_client
