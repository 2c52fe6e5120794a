#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace bench {

/// A two-level signal over an interval, in samples of the unit: the level before the first toggle, and the
/// times at which it changes, ascending. A toggle at t holds for the samples t and later.
struct Waveform {
    bool first = false;
    std::vector<double> toggles;

    bool operator==(const Waveform&) const = default;
};

/// Sorts toggles that are out of order (a fast edge that overtook a slow one) and removes pairs that cancel
/// each other.
void putInOrder(Waveform& wave);

/// Inverts the level from `from` to `to`.
void invertBetween(Waveform& wave, double from, double to);

/// Removes pulses shorter than `length`, the earlier of two first.
void removePulsesBelow(Waveform& wave, double length);

/// Moves all rises and all falls. Runs whose ends meet or cross vanish. The toggles must be in order.
void moveEdges(Waveform& wave, double rise, double fall);

/// The levels at the whole samples `first`, `first` + 1, ...; 16 to a word, bit 0 the earliest.
void sampleInto(const Waveform& wave, double first, std::span<std::uint16_t> words);

} // namespace bench
