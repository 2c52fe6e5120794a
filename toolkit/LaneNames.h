#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// How the sampled pins of a run are named for people: in tables, sentences, pages and signal lists. Scripts use pinKey()
// instead, which no name changes.
//
// Without names of its own a pin is named as on a schematic: "CLK", and "D0" for the pin that carries bit 0. The pin of the
// connector follows in brackets where it is known: "D0 (EMU1)". The data pin of the top bit is sampled first.

namespace toolkit {

/// A sampled pin.
struct LanePlace {
    std::size_t proc = 0;          ///< as the unit numbers it; 0 is the clock
    std::size_t dataPins = 0;      ///< of the run; 0: not known
    std::optional<unsigned> emu{}; ///< pin of the connector
};

/// The bit that a data pin carries. Nothing for the clock, for a pin that the run does not use, and where the number of
/// data pins is not known.
std::optional<unsigned> bitOf(const LanePlace& place);

/// "CLK", "D3"; "proc 3" for a pin without a known bit.
std::string laneLabel(const LanePlace& place);

/// The user's names of pins, such as the nets of a board.
class LaneNames {
public:
    /// A list in the order of the tables, clock and top bit first: "CLK,D3,D2,D1,D0". Or names by pin: "CLK=TRACECLK,D0=TD0",
    /// "EMU0=TRACECLK". Throws Failure (Usage).
    static LaneNames parse(std::string_view list);

    /// Names the pin "CLK", "D0" to "D6" or "EMU0" to "EMU5", in any case. The name of a bit precedes that of a connector's
    /// pin. Throws Failure (Usage) for another pin, and for a name that cannot be used in every output.
    void give(std::string_view pin, std::string_view name);

    bool empty() const { return names.empty(); }
    /// The user's name, or laneLabel().
    std::string label(const LanePlace& place) const;
    /// With everything that the name does not say: "D3 (EMU4)", "TD3 (D3, EMU4)".
    std::string title(const LanePlace& place) const;
    /// Whether a sentence begins with one of the user's names, whose letters are not to be changed.
    bool begins(std::string_view sentence) const;
    /// By pin, "CLK", "D0" or "EMU0".
    const std::map<std::string, std::string>& all() const { return names; }
    /// How many data pins a list had; nothing for names by pin.
    std::optional<std::size_t> listedPins() const { return listed; }

private:
    std::map<std::string, std::string> names;
    std::optional<std::size_t> listed;
};

/// Titles of the columns that tables of lanes have, in this order; those that a table has no values for are left out.
namespace lane_column {
inline constexpr const char* pin = "pin";               ///< label()
inline constexpr const char* emu = ">EMU";              ///< pin of the connector
inline constexpr const char* margins = ">setup / hold"; ///< setupHoldText(), in samples
inline constexpr const char* nanoseconds = ">in ns";    ///< the same in nanoseconds
inline constexpr const char* limit = ">limit";          ///< in samples; the smaller margin is thin below it
inline constexpr const char* delay = ">delay";
inline constexpr const char* stretch = ">stretch";
inline constexpr const char* duty = ">ones / zeros"; ///< lengths of one bit
inline constexpr const char* correlation = ">correlation";
inline constexpr const char* conditioning = ">filter / plateau / debounce";
} // namespace lane_column

/// "6.2 / 5.4": setup margin and hold margin; "-" for an unmeasured one.
std::string setupHoldText(const std::optional<double>& setup, const std::optional<double>& hold, int decimals = 1);

} // namespace toolkit
