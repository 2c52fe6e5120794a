#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

/// A scenario describes one run of the bench. It is a TOML file; missing keys have the defaults shown here, and
/// unknown keys are errors.
///
///     name = "bench-cable"                      name of the scenario
///     about = "one sentence"
///     cpu = "..."                               name of the CPU that the debugger would pass
///     kind = "pti"                              "pti", "tpiu" or "tpiulite"
///     pins = 4                                  data pins
///     pin_map = "0,1,2,3,4"                     optional: EMU pins, clock first
///
///     [settings]     buffer, stop_on_full, sync
///     [transmitter]  frequencies, sync_every, fail, idle_word, idle_before, trace_status
///     [unit]         generator_frequency, error_a, error_b, error_after, error_from, comms_stuck, bridge_needs_reset,
///                    and [[unit.cell]] tables (see MemoryCell)
///     [wiring]       alignment, jitter, seed, and [[wiring.pin]] tables (see PinWiring)
///     [server]       speed
///     [faults]       version, refuse_second, exit_at_start, and [[faults.at]] tables (see FaultStep)
///     [environment]  the variable that pin_map names as "$NAME", set by the host for the run (see Environment.h)
///     [names]        the board's names of the pins, by "CLK", "D0" or "EMU0"; only the host reads it
///     [expect]       a free table that only tests read
enum class ExportKind { Pti, Tpiu, TpiuLite };
enum class Alignment { Center, Edge };

std::string_view exportKindName(ExportKind kind);
std::optional<ExportKind> exportKindFromName(std::string_view name);

/// Channel settings for the host.
struct HostSettings {
    unsigned buffer = 0;     ///< index of the unit's buffer size, 0 (0x40000 bytes) to 9 (0x8000000 bytes)
    bool stopOnFull = false; ///< stop when the buffer is full, otherwise wrap
    bool sync = false;       ///< follow the target's run and halt
};

/// The target's trace export.
struct TargetSettings {
    std::vector<double> frequencies{50e6}; ///< Hz of the trace clock, one for each setting, slow to fast
    unsigned syncEvery = 64;               ///< "pti": words between two synchronisation sequences, 0 for none
    std::vector<std::string> fail;         ///< operations of the transmitter library that fail
    std::uint16_t idleWord = 0;            ///< the word that is sent without trace
    unsigned idleBefore = 64;              ///< idle words sent before a played file
    std::uint32_t traceStatus = 0;         ///< value of the target's trace status
};

/// A defective bit of the capture memory, in one byte or in bytes at regular distances. It corrupts reading, not
/// recording, so no setting of the unit corrects it. Recordings are counted from 1 since the server's start, like the
/// lines of truth.jsonl; those that verify a calibration count too.
struct MemoryCell {
    std::uint64_t byte = 0;          ///< offset in the unit's buffer
    std::uint64_t every = 0;         ///< distance to further defective bytes after it; 0: none
    unsigned bit = 0;                ///< 0 to 7
    std::optional<unsigned> stuck;   ///< 0 or 1: the value it always reads; if empty, it reads inverted
    std::uint64_t fromRecording = 1; ///< the first recording with the defect
};

/// The capture unit.
struct UnitSettings {
    double generatorFrequency = 50e6; ///< Hz of the clock that the unit's own pattern generator sends
    std::uint16_t errorA = 0;         ///< value of this error register `errorAfter` seconds into each recording
    std::uint16_t errorB = 0;         ///< the same for the other; both until they are written
    double errorAfter = 0.0;
    std::uint64_t errorFrom = 1;   ///< the first recording with these values
    bool commsStuck = false;       ///< the comms status never reads idle
    bool bridgeNeedsReset = false; ///< the bridge requests a reset until it gets one
    std::vector<MemoryCell> cells; ///< defective cells
};

/// One connector pin. Lengths are in samples of the unit (1.4e9 a second).
struct PinWiring {
    unsigned emu = 0;                    ///< EMU pin of the connector, 0 to 5
    double skew = 0.0;                   ///< both edges arrive this much later
    double lateFall = 0.0;               ///< further delay of falling edges: duty error
    std::optional<double> jitter;        ///< rms of each edge; default: the bus's
    std::optional<unsigned> stuck;       ///< 0 or 1: the level never changes
    bool open = false;                   ///< not connected: the input floats
    std::optional<unsigned> swappedWith; ///< this pin and that EMU pin have each other's signal
    double glitchEvery = 0.0;            ///< mean distance of short pulses, 0 for none
    double glitchLength = 0.0;           ///< length of such a pulse
    double drift = 0.0;                  ///< growth of the skew in samples a second while the target sends trace
    double memory = 0.0;   ///< time constant of the line: an edge after a longer run comes later (ContentShift.h)
    double coupling = 0.0; ///< an edge on an adjacent data pin in the same slot moves an edge of this pin: earlier
                           ///< if both go the same way, later if they go opposite ways

    static constexpr double longestMemory = 5.0;   ///< a bit at 200 MHz still crosses the threshold
    static constexpr double largestCoupling = 2.0; ///< with two neighbours it shifts an edge twice as far
};

struct WiringSettings {
    Alignment alignment = Alignment::Center; ///< data change midway between clock edges, or at them
    double jitter = 0.0;                     ///< samples rms, each edge of each pin
    std::uint64_t seed = 1;
    bool driftStays = false; ///< wires stay where trace has moved them; otherwise each start of trace finds them new
    std::vector<PinWiring> pins; ///< unlisted pins are ideal except for the bus's jitter

    /// The wiring of an EMU pin; by default an ideal pin with the bus's jitter.
    PinWiring pin(unsigned emu) const;
};

struct ServerSettings {
    double speed = 1.0; ///< factor by which the unit's buffer fills faster than the pins could send
};

/// A fault of the server at the `nth` request (from 1) with the command `command`, or at the nth of all requests
/// when no command is given.
///
///     action            what happens
///     die               the process ends before the reply
///     close             the connection is closed before the reply
///     hang              no reply, ever
///     late              the reply comes `seconds` later
///     cut               only the first `byte` bytes of the reply go out, then the connection is closed
///     unknown_record    a record of type `code` precedes the reply
///     error_record      an error record with `code`, `text` and `detail` precedes the reply
///     status_record     a status record of `code` precedes the reply
///     short_record      a record that ends too early replaces the reply
///     error_reply       "$E" instead of the reply
///     text_reply        "$err" and `text` instead of the reply
///     garbage           `text` unchanged, then "#00", instead of the reply
struct FaultStep {
    std::string command; ///< one character, or empty for any
    unsigned nth = 1;
    std::string action;
    double seconds = 0.0;
    std::size_t byte = 0;
    std::uint32_t code = 0;
    std::string text;
    std::string detail;
};

struct FaultSettings {
    std::uint32_t version = 1; ///< the version that the server reports
    bool refuseSecond = false; ///< stop listening after the first connection
    bool exitAtStart = false;  ///< end before listening
    std::vector<FaultStep> steps;
};

struct Scenario {
    std::string name;
    std::string about;
    std::string cpu;
    ExportKind kind = ExportKind::Pti;
    unsigned pins = 4;
    std::string pinMap;
    HostSettings settings;
    TargetSettings transmitter;
    UnitSettings unit;
    WiringSettings wiring;
    ServerSettings server;
    FaultSettings faults;
    /// The free table, as text: numbers in their shortest form, booleans as "true" and "false", the items of
    /// an array joined by ','.
    std::map<std::string, std::string> environment;
    std::map<std::string, std::string> names;
    std::map<std::string, std::string> expect;
};

/// An error in a scenario file. The text starts with the file's name and, if known, the line, and names the key.
struct ScenarioError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Both throw ScenarioError. `file` is only used in its texts by the second.
Scenario loadScenario(const std::filesystem::path& file);
Scenario parseScenario(std::string_view text, const std::string& file);

} // namespace bench
