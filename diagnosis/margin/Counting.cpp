#include "diagnosis/margin/Counting.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace diagnosis {

namespace {

constexpr double smallestTerm = 1e-15;
constexpr int mostTerms = 100000;

/// The regularised lower incomplete gamma function by its series, for x below a + 1.
double gammaSeries(double a, double x) {
    double term = 1.0 / a;
    double sum = term;
    for (int n = 1; n < mostTerms && term > sum * smallestTerm; ++n) {
        term *= x / (a + n);
        sum += term;
    }
    return sum * std::exp(a * std::log(x) - x - std::lgamma(a));
}

/// The upper one by its continued fraction, for larger x.
double gammaFraction(double a, double x) {
    constexpr double tiny = std::numeric_limits<double>::min() / smallestTerm;
    double b = x + 1.0 - a;
    double c = 1.0 / tiny;
    double d = 1.0 / b;
    double value = d;
    for (int n = 1; n < mostTerms; ++n) {
        const double factor = -n * (n - a);
        b += 2.0;
        d = factor * d + b;
        d = 1.0 / (std::abs(d) < tiny ? tiny : d);
        c = b + factor / c;
        c = std::abs(c) < tiny ? tiny : c;
        value *= d * c;
        if (std::abs(d * c - 1.0) < smallestTerm) {
            break;
        }
    }
    return value * std::exp(a * std::log(x) - x - std::lgamma(a));
}

/// The chance that a Poisson count with this mean is `least` or more; `least` is not 0.
double chanceOfAtLeast(double least, double mean) {
    if (mean <= 0.0) {
        return 0.0;
    }
    return mean < least + 1.0 ? gammaSeries(least, mean) : 1.0 - gammaFraction(least, mean);
}

/// The mean at which so many or more have this chance.
double meanFor(double least, double chance) {
    double low = 0.0;
    double high = least + 10.0 + 10.0 * std::sqrt(least);
    for (int step = 0; step < 80; ++step) {
        const double middle = (low + high) / 2.0;
        (chanceOfAtLeast(least, middle) < chance ? low : high) = middle;
    }
    return (low + high) / 2.0;
}

} // namespace

double upperCount(std::uint64_t errors, double confidence) {
    return meanFor(static_cast<double>(errors) + 1.0, confidence);
}

double lowerCount(std::uint64_t errors, double confidence) {
    return errors == 0 ? 0.0 : meanFor(static_cast<double>(errors), 1.0 - confidence);
}

double rateBelow(std::uint64_t errors, std::uint64_t opportunities, double confidence) {
    if (opportunities == 0) {
        return 1.0;
    }
    const auto count = static_cast<double>(opportunities);
    if (errors == 0) {
        return -std::expm1(std::log1p(-confidence) / count);
    }
    return std::min(1.0, upperCount(errors, confidence) / count);
}

double chiSquareTail(double value, unsigned degrees) {
    if (degrees == 0 || value <= 0.0) {
        return 1.0;
    }
    return 1.0 - chanceOfAtLeast(degrees / 2.0, value / 2.0);
}

bool hasMoved(std::uint64_t errors, std::uint64_t opportunities, std::uint64_t laterErrors,
              std::uint64_t laterOpportunities) {
    constexpr double level = 0.001;
    const auto first = static_cast<double>(errors);
    const auto second = static_cast<double>(laterErrors);
    const auto all = static_cast<double>(opportunities + laterOpportunities);
    if (errors + laterErrors == 0 || opportunities == 0 || laterOpportunities == 0) {
        return false;
    }
    const double expected = (first + second) * static_cast<double>(opportunities) / all;
    const double other = (first + second) - expected;
    const auto part = [](double count, double mean) { return count > 0.0 ? count * std::log(count / mean) : 0.0; };
    return chiSquareTail(2.0 * (part(first, expected) + part(second, other)), 1) < level;
}

} // namespace diagnosis
