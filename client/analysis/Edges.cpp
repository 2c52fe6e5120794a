#include "client/analysis/Edges.h"

#include "client/analysis/Cal.h"

#include <bit>

namespace VX_QRS::ORV::CLIENT::analysis {

namespace {

constexpr std::uint32_t allOnes = 0xFFFF;

bool levelAt(Samples samples, std::uint32_t position) {
    const std::uint32_t word = position / samplesPerWord;
    return word < samples.size() && ((samples[word] >> (position % samplesPerWord)) & 1) != 0;
}

/// The samples of a word that differ from a level.
std::uint32_t differing(std::uint16_t word, bool level) {
    return level ? (~static_cast<std::uint32_t>(word) & allOnes) : word;
}

std::uint32_t sampleCount(Samples samples) {
    return static_cast<std::uint32_t>(samples.size()) * samplesPerWord;
}

} // namespace

int nextEdge(Samples samples, std::uint32_t& position, std::uint32_t limit) {
    if (position == limit - 1) {
        return 0;
    }
    const std::uint32_t wordLimit = limit / samplesPerWord;
    if (position / samplesPerWord >= wordLimit) {
        return 0;
    }
    const bool level = levelAt(samples, position);
    const int result = level ? -1 : +1;
    const std::uint32_t first = position + 1;
    std::uint32_t word = first / samplesPerWord;
    std::uint32_t mask = (allOnes << (first % samplesPerWord)) & allOnes;
    for (; word < wordLimit && word < samples.size(); ++word) {
        const std::uint32_t found = differing(samples[word], level) & mask;
        if (found != 0) {
            position = word * samplesPerWord + static_cast<std::uint32_t>(std::countr_zero(found));
            return result;
        }
        mask = allOnes;
    }
    if (level && word < wordLimit) { // past the storage everything reads as 0
        position = sampleCount(samples);
        return result;
    }
    return 0;
}

int prevEdge(Samples samples, std::uint32_t& position) {
    if (position == 0) {
        return 0;
    }
    const bool level = levelAt(samples, position);
    const int result = level ? -1 : +1;
    std::uint32_t last = position - 1;
    if (last >= sampleCount(samples)) { // nothing but zeros from there down to the end of the storage
        if (samples.empty()) {
            return 0;
        }
        last = sampleCount(samples) - 1;
    }
    std::uint32_t mask = allOnes >> (samplesPerWord - 1 - last % samplesPerWord);
    for (std::uint32_t word = last / samplesPerWord + 1; word-- > 0;) {
        const std::uint32_t found = differing(samples[word], level) & mask;
        if (found != 0) {
            position = word * samplesPerWord + 31 - static_cast<std::uint32_t>(std::countl_zero(found));
            return result;
        }
        mask = allOnes;
    }
    return 0;
}

int nextEdge(Samples samples, std::uint32_t& word, std::uint32_t& bit, std::uint32_t limit) {
    std::uint32_t position = samplesPerWord * word + bit;
    const int result = nextEdge(samples, position, limit);
    if (result != 0) {
        word = position / samplesPerWord;
        bit = position % samplesPerWord;
    }
    return result;
}

int prevEdge(Samples samples, std::uint32_t& word, std::uint32_t& bit) {
    std::uint32_t position = samplesPerWord * word + bit;
    const int result = prevEdge(samples, position);
    if (result != 0) {
        word = position / samplesPerWord;
        bit = position % samplesPerWord;
    }
    return result;
}

std::uint32_t distanceToNextEdge(Samples samples, std::uint32_t position, std::uint32_t limit) {
    std::uint32_t found = position;
    return nextEdge(samples, found, limit) != 0 ? found - position : notSet;
}

std::uint32_t distanceToPrevEdge(Samples samples, std::uint32_t position) {
    std::uint32_t found = position;
    return prevEdge(samples, found) != 0 ? position - found : notSet;
}

} // namespace VX_QRS::ORV::CLIENT::analysis
