#pragma once

#include "client/analysis/Burst.h"
#include "client/analysis/Metrics.h"

#include <cstdint>

// A second implementation of the mathematics, slow and obvious: one bit at a time, one rule after the other. Its only
// use is to be compared with the first.

namespace reference {

using VX_QRS::ORV::CLIENT::Metrics;
using VX_QRS::ORV::CLIENT::ProcMetrics;
using VX_QRS::ORV::CLIENT::analysis::Burst;
using VX_QRS::ORV::CLIENT::analysis::Samples;

std::uint32_t integerPart(double value);
std::int32_t roundAway(double value);

int nextEdge(Samples samples, std::uint32_t& word, std::uint32_t& bit, std::uint32_t limit);
int prevEdge(Samples samples, std::uint32_t& word, std::uint32_t& bit);

double countOnes(Samples samples, std::uint32_t start, std::uint32_t count, std::int32_t lag);
double countCommonOnes(Samples a, Samples b, std::uint32_t start, std::uint32_t count, std::int32_t lag);
double correlateBits(Samples a, Samples b, std::uint32_t start, std::uint32_t count, std::int32_t lag);

/// "center", "edge", or null when it is undecided.
const char* samplingPosition(const Burst& burst);
const char* samplingPosition(std::uint32_t centerCount, std::uint32_t edgeCount);
void stretch(const Burst& burst, double onesRatio, Metrics& m);
void findMargin(const Burst& burst, const char* samplingPos, Metrics& m);
/// False for a strategy that there is none of.
bool align(const Burst& burst, std::uint32_t strategy, const char* samplingPos, std::uint32_t referencePin, Metrics& m);
double findPeakCorrelation(const ProcMetrics& p, std::int32_t& delay, std::uint32_t range);
void formatDelays(const Burst& burst, Metrics& m);
/// False when the margins are too low; nothing is changed then.
bool adjustClockDelay(const Burst& burst, std::uint32_t referencePin, Metrics& m);
void correlateAtZero(const Burst& burst, std::uint32_t referencePin, Metrics& m);
/// 0 for no fault, 1 for the clock, 2 for the data.
int marginFault(const Burst& burst, std::int32_t margin, std::uint32_t& index);

} // namespace reference
