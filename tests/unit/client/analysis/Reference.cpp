#include "tests/unit/client/analysis/Reference.h"

#include <cmath>
#include <cstring>
#include <span>
#include <vector>

namespace reference {

namespace {

constexpr std::uint32_t unset = 0x7FFFFFFF;

int level(Samples samples, std::uint32_t word, std::uint32_t bit) {
    return word < samples.size() ? (samples[word] >> bit) & 1 : 0;
}
int level(Samples samples, std::uint32_t position) {
    return level(samples, position / 16, position % 16);
}

} // namespace

std::uint32_t integerPart(double value) {
    if (std::isnan(value) || std::fabs(value) >= std::ldexp(1.0, 63)) {
        return 0;
    }
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(value) & 0xFFFFFFFF);
}

std::int32_t roundAway(double value) {
    if (std::isnan(value)) {
        return 0;
    }
    const double whole = value > 0 ? std::floor(value + 0.5) : std::ceil(value - 0.5);
    if (whole > 2147483647.0) {
        return 2147483647;
    }
    if (whole < -2147483648.0) {
        return -2147483647 - 1;
    }
    return static_cast<std::int32_t>(whole);
}

int nextEdge(Samples samples, std::uint32_t& word, std::uint32_t& bit, std::uint32_t limit) {
    if (16 * word + bit == limit - 1) {
        return 0;
    }
    const int here = level(samples, word, bit);
    std::uint32_t w = word;
    std::uint32_t b = bit;
    for (;;) {
        if (++b == 16) {
            b = 0;
            ++w;
        }
        if (w >= limit / 16) {
            return 0;
        }
        if (level(samples, w, b) != here) {
            word = w;
            bit = b;
            return here == 1 ? -1 : +1;
        }
    }
}

int prevEdge(Samples samples, std::uint32_t& word, std::uint32_t& bit) {
    const std::uint32_t q = 16 * word + bit;
    if (q == 0) {
        return 0;
    }
    const int here = level(samples, q);
    for (std::uint32_t i = q; i-- > 0;) {
        if (level(samples, i) != here) {
            word = i / 16;
            bit = i % 16;
            return here == 1 ? -1 : +1;
        }
    }
    return 0;
}

double countOnes(Samples samples, std::uint32_t start, std::uint32_t count, std::int32_t lag) {
    double ones = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        ones += level(samples, start + static_cast<std::uint32_t>(lag) + i);
    }
    return ones;
}

double countCommonOnes(Samples a, Samples b, std::uint32_t start, std::uint32_t count, std::int32_t lag) {
    double ones = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        if (level(a, start + i) == 1 && level(b, start + static_cast<std::uint32_t>(lag) + i) == 1) {
            ones += 1;
        }
    }
    return ones;
}

namespace {

/// One byte for each sample, 0 or 1.
using Levels = std::vector<std::uint8_t>;

Levels levelsOf(Samples samples, std::uint32_t start, std::uint32_t count) {
    Levels levels(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        levels[i] = level(samples, start + i) == 1 ? 1 : 0;
    }
    return levels;
}

/// Of as many samples as `a` has.
double correlate(const Levels& a, std::span<const std::uint8_t> b) {
    const double n = static_cast<double>(a.size());
    std::uint32_t onesOfA = 0;
    std::uint32_t onesOfB = 0;
    std::uint32_t common = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        onesOfA += a[i];
        onesOfB += b[i];
        common += a[i] == 1 ? b[i] : 0U;
    }
    const double sa = onesOfA;
    const double sb = onesOfB;
    const double sab = common;
    return (n * sab - sa * sb) / std::sqrt(n * sa - sa * sa) / std::sqrt(n * sb - sb * sb);
}

} // namespace

double correlateBits(Samples a, Samples b, std::uint32_t start, std::uint32_t count, std::int32_t lag) {
    return correlate(levelsOf(a, start, count), levelsOf(b, start + static_cast<std::uint32_t>(lag), count));
}

const char* samplingPosition(std::uint32_t centerCount, std::uint32_t edgeCount) {
    if (centerCount != 0 && edgeCount == 0) {
        return "center";
    }
    if (edgeCount != 0 && centerCount / edgeCount >= 3) {
        return "center";
    }
    if (edgeCount == 0) {
        return nullptr;
    }
    if (centerCount != 0 && edgeCount / centerCount < 3) {
        return nullptr;
    }
    return "edge";
}

const char* samplingPosition(const Burst& burst) {
    const std::uint32_t low = burst.bitSamples / 2;
    const std::uint32_t high = low * 3;
    const std::uint32_t start = burst.bitSamples + burst.skip;
    std::uint32_t centerCount = 0;
    std::uint32_t edgeCount = 0;
    for (std::uint32_t p = 1; p < burst.numPins; ++p) {
        std::uint32_t word = start / 16;
        std::uint32_t bit = start % 16;
        while (nextEdge(burst.pin[p], word, bit, burst.length) != 0) {
            const std::uint32_t q = 16 * word + bit;
            std::uint32_t after = unset;
            std::uint32_t before = unset;
            std::uint32_t w = word;
            std::uint32_t b = bit;
            if (nextEdge(burst.pin[0], w, b, burst.length) != 0) {
                after = 16 * w + b - q;
            }
            w = word;
            b = bit;
            if (prevEdge(burst.pin[0], w, b) != 0) {
                before = q - (16 * w + b);
            }
            const std::uint32_t d = after < before ? after : before;
            if (d > low && !(d > high)) {
                ++centerCount;
            } else {
                ++edgeCount;
            }
        }
    }
    return samplingPosition(centerCount, edgeCount);
}

void stretch(const Burst& burst, double onesRatio, Metrics& m) {
    const double expected = onesRatio / (1 - onesRatio);
    const std::uint32_t total = burst.length - integerPart(burst.oversampling / 2 + 0.5) - burst.skip;
    for (std::uint32_t p = 0; p < burst.numPins; ++p) {
        m.proc[p].ones = integerPart(countOnes(burst.pin[p], 0, burst.length, 0));
        m.proc[p].zeros = total - m.proc[p].ones;
    }
    for (std::uint32_t p = 0; p < burst.numPins; ++p) {
        double x = m.proc[p].zeros;
        if (p != 0) {
            x = x * expected;
        }
        x = x - m.proc[p].ones;
        x = x / (total / burst.oversampling);
        std::int32_t result = roundAway(x);
        if (result >= 6) {
            result = 5;
        }
        if (result < -5) {
            result = -5;
        }
        m.proc[p].stretch = result;
    }
}

void findMargin(const Burst& burst, const char* samplingPos, Metrics& m) {
    for (std::uint32_t p = 0; p < burst.numPins; ++p) {
        m.proc[p].marginBefore = unset;
        m.proc[p].marginAfter = unset;
    }
    std::uint32_t offset = 0;
    if (std::strcmp(samplingPos, "edge") == 0 && m.proc[0].delay == 0) {
        offset = integerPart(burst.oversampling / 2 + 0.5);
    }
    for (std::uint32_t p = 1; p < burst.numPins; ++p) {
        const std::uint32_t start = integerPart(burst.oversampling + burst.skip);
        std::uint32_t word = start / 16;
        std::uint32_t bit = start % 16;
        while (nextEdge(burst.pin[p], word, bit, burst.length) != 0) {
            const std::uint32_t q = 16 * word + bit;
            if (integerPart(burst.oversampling + q) > 8192) {
                break;
            }
            const std::uint32_t a = offset == 0 ? q : q - offset;
            std::uint32_t w = a / 16;
            std::uint32_t b = a % 16;
            if (prevEdge(burst.pin[0], w, b) != 0 && a - (16 * w + b) < m.proc[p].marginBefore) {
                m.proc[p].marginBefore = a - (16 * w + b);
            }
            w = a / 16;
            b = a % 16;
            if (nextEdge(burst.pin[0], w, b, burst.length) != 0 && 16 * w + b - a < m.proc[p].marginAfter) {
                m.proc[p].marginAfter = 16 * w + b - a;
            }
        }
    }
}

double findPeakCorrelation(const ProcMetrics& p, std::int32_t& delay, std::uint32_t range) {
    delay = 0;
    double best = 0.0;
    const auto r = static_cast<std::int32_t>(range);
    for (std::int32_t k = -r; k <= r; ++k) {
        const double v = std::fabs(p.correlation[static_cast<std::size_t>(k + 31)]);
        if (v > best) {
            delay = -k;
            best = v;
        }
    }
    return best;
}

void formatDelays(const Burst& burst, Metrics& m) {
    std::int32_t lowest = m.proc[0].delay;
    for (std::uint32_t p = 1; p < burst.numPins; ++p) {
        if (m.proc[p].delay < lowest) {
            lowest = m.proc[p].delay;
        }
    }
    for (std::uint32_t p = 0; p < burst.numPins; ++p) {
        const std::int64_t delay = std::int64_t{m.proc[p].delay} - lowest;
        m.proc[p].delay = delay > 31 ? 31 : static_cast<std::int32_t>(delay);
    }
}

namespace {

std::int32_t signedDifference(std::uint32_t a, std::uint32_t b) {
    return static_cast<std::int32_t>(a - b);
}

void add(std::int32_t& to, std::uint32_t what) {
    to = static_cast<std::int32_t>(static_cast<std::uint32_t>(to) + what);
}

} // namespace

bool align(const Burst& burst, std::uint32_t strategy, const char* samplingPos, std::uint32_t referencePin,
           Metrics& m) {
    if (strategy == 0) {
        findMargin(burst, samplingPos, m);
        for (std::uint32_t p = 1; p < burst.numPins; ++p) {
            m.proc[p].delay = roundAway(signedDifference(m.proc[p].marginAfter, m.proc[p].marginBefore) / 2.0);
        }
    } else if (strategy == 1) {
        const std::uint32_t start = burst.bitSamples + burst.skip;
        const std::uint32_t range = burst.bitSamples < 32 ? burst.bitSamples : 31;
        const auto r = static_cast<std::int32_t>(range);
        const Levels fixed = levelsOf(burst.pin[referencePin], start, burst.length - start);
        for (std::uint32_t p = 1; p < burst.numPins; ++p) {
            m.proc[p].correlation.fill(0.0);
            const Levels moved = levelsOf(burst.pin[p], start - range, burst.length - start + 2 * range);
            for (std::int32_t k = -r; k <= r; ++k) {
                m.proc[p].correlation[static_cast<std::size_t>(k + 31)] =
                    correlate(fixed, std::span(moved).subspan(static_cast<std::size_t>(k + r)));
            }
        }
        for (std::uint32_t p = 1; p < burst.numPins; ++p) {
            findPeakCorrelation(m.proc[p], m.proc[p].delay, range);
        }
    } else {
        return false;
    }
    if (std::strcmp(samplingPos, "edge") == 0) {
        add(m.proc[0].delay, integerPart(burst.oversampling / 2 + 0.5));
    }
    formatDelays(burst, m);
    return true;
}

bool adjustClockDelay(const Burst& burst, std::uint32_t referencePin, Metrics& m) {
    std::uint32_t lowest = m.proc[1].marginBefore;
    std::uint32_t highest = m.proc[1].marginAfter;
    for (std::uint32_t p = 2; p < burst.numPins; ++p) {
        if (m.proc[p].marginBefore < lowest) {
            lowest = m.proc[p].marginBefore;
        }
        if (m.proc[p].marginAfter < highest) {
            highest = m.proc[p].marginAfter;
        }
    }
    if (lowest + highest < integerPart(burst.oversampling / 3 + 0.5)) {
        return false;
    }
    const ProcMetrics& r = m.proc[referencePin];
    add(m.proc[0].delay, static_cast<std::uint32_t>(roundAway(signedDifference(r.marginBefore, r.marginAfter) / 2.0)));
    formatDelays(burst, m);
    return true;
}

void correlateAtZero(const Burst& burst, std::uint32_t referencePin, Metrics& m) {
    const std::uint32_t start = burst.bitSamples + burst.skip;
    for (std::uint32_t p = 1; p < burst.numPins; ++p) {
        m.proc[p].correlationAtZero =
            correlateBits(burst.pin[referencePin], burst.pin[p], start, burst.length - start, 0);
    }
}

int marginFault(const Burst& burst, std::int32_t margin, std::uint32_t& index) {
    std::uint32_t clockEdges = 0;
    std::uint32_t lastDataEdge = 0;
    std::uint32_t run = 0;
    int previousClock = -1;
    std::uint32_t previousData = 0;
    for (std::uint32_t word = burst.skip / 16; word < burst.length / 16; ++word) {
        for (std::uint32_t bit = 0; bit < 16; ++bit) {
            const int clock = level(burst.pin[0], word, bit);
            std::uint32_t data = 0;
            for (std::uint32_t p = 1; p < burst.numPins; ++p) {
                if (level(burst.pin[p], word, bit) == 1) {
                    data |= 1U << (burst.numPins - p - 1);
                }
            }
            if (previousClock >= 0) {
                if (clock != previousClock) {
                    ++clockEdges;
                    if (static_cast<std::int32_t>(clockEdges - lastDataEdge) < margin) {
                        index = word;
                        return 1;
                    }
                }
                if (data != previousData && run >= burst.bitSamples) {
                    if (lastDataEdge != 0 && lastDataEdge == clockEdges) {
                        index = word;
                        return 2;
                    }
                    lastDataEdge = clockEdges;
                    run = 0;
                } else {
                    ++run;
                }
            }
            previousClock = clock;
            previousData = data;
        }
    }
    return 0;
}

} // namespace reference
