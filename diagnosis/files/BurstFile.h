#pragma once

#include "diagnosis/files/Rates.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace diagnosis {

/// The settings of one pin at the time of a burst.
struct BurstPin {
    int rcvrpin = 0; ///< input of the unit
    int filter = 0, plateau = 0, debounce = 0, delay = 0, stretch = 0, enable = 0;
    /// 0 or 1 for each sample; all pins have the same number.
    std::vector<std::uint8_t> levels;
};

/// A file that ends in ".cap.txt": the levels of all pins, sample by sample.
struct Burst {
    Rates rates;
    std::vector<BurstPin> pins; ///< the clock first; never empty

    std::size_t samples() const { return pins.front().levels.size(); }
    std::size_t dataPins() const { return pins.size() - 1; }
    /// False for one that was written before any pin was enabled: its levels mean nothing.
    bool taken() const;
};

/// Samples at the start that the receiver's analysis ignores.
inline constexpr std::size_t burstStart = 16;

/// Throws Failure (BadInput) with file, line and what is wrong; never anything else, whatever the bytes.
Burst parseBurst(std::string_view text, const std::string& file);
Burst readBurst(const std::filesystem::path& file);

/// The connector's EMU pin of an input of the unit; -1 when none is wired to it.
int emuOfInput(int rcvrpin);

} // namespace diagnosis
