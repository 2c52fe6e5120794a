#pragma once

#include "bench/scenarios/Scenario.h"

#include <map>
#include <optional>
#include <string>

namespace bench {

/// How a target's trace export is programmed, step by step, and why a step fails. Pure: no server, no clock.
///
/// The required order: pins and their width in any order; for the kinds "pti" and "tpiu" a function mode, after
/// which a test mode may replace the trace by a pattern; a frequency setting; programChannel, which needs all of it;
/// enablePort; enablePins, after which the pins carry the signal.

/// Result codes of the transmitter library. Up to 2 they mean success.
namespace xmtr_result {
constexpr int done = 0;
constexpr int outOfOrder = 3;
constexpr int badArgument = 4;
constexpr int badPin = 5;
constexpr int noBench = 6;
constexpr int scripted = 7;
constexpr int noMemory = 8;
} // namespace xmtr_result

class ExportProgram {
public:
    static constexpr unsigned emuPins = 6;

    ExportProgram(ExportKind exportKind, unsigned frequencySettings) : kind(exportKind), settings(frequencySettings) {}

    /// Each returns a result code; reason() says why a step was refused.
    int releasePin(unsigned emu);
    int allocatePin(unsigned mode, unsigned bit, unsigned emu);
    int setPortWidth(unsigned dataPins);
    int setFunctionMode(unsigned mode);
    int setTestMode(unsigned block, unsigned mode);
    int applyFrequency(unsigned setting);
    int programChannel();
    int enablePort();
    int enablePins();
    void shutdown();

    const std::string& reason() const { return text; }
    /// The side request that puts this export onto the pins. Only after enablePins succeeded.
    std::string request() const;

private:
    enum class Stage { Collecting, Programmed, PortOn, PinsOn };

    int refuse(int code, std::string why);
    /// Changes after programChannel take effect at the next programChannel.
    void reopen();

    ExportKind kind;
    unsigned settings;
    Stage stage = Stage::Collecting;
    std::optional<unsigned> clock;
    std::map<unsigned, unsigned> data; ///< EMU pin by bit
    std::optional<unsigned> width;
    bool functionSet = false;
    std::string pattern = "none";
    unsigned frequency = 0;
    bool frequencySet = false;
    std::string text;
};

} // namespace bench
