#include "client/analysis/Alignment.h"
#include "client/analysis/Burst.h"
#include "client/frontend/ChannelLog.h"
#include "client/frontend/FrontEndChannel_1.h"
#include "common/source/Exception.h"
#include "common/source/source_utilities/OutputFile.h"
#include "common/source/source_utilities/uString.h"
#include "rcvr/framework/compiler/Compiler.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <new>
#include <string>
#include <string_view>

// The plain text files for people that a calibration writes beside the trace file.

namespace VX_QRS::ORV::CLIENT {

namespace {

constexpr std::array deletedSuffixes{".bin", ".ver", ".cap.txt", ".reg.txt", ".cal.txt", ".trg.txt"};

/// Fails with eFILE unless the file is opened and written completely.
class TextFile {
public:
    explicit TextFile(const std::string& fullPath) : path(fullPath), file(path, OutputFile::Mode::text) {
        require(file.isOpen());
    }
    void write(const std::string& text) { file.write(text); }
    bool close() { return file.close(); }
    void finish() { require(close()); }

private:
    void require(bool succeeded) const {
        if (!succeeded) {
            fail(frontEndUnit, eFILE, path);
        }
    }

    std::string path;
    OutputFile file;
};

/// Appends; for lines without the user's texts.
void append(std::string& text, const char* format, ...) ORV_PRINTF_CHECKED(2, 3);
void append(std::string& text, const char* format, ...) {
    std::array<char, 256> buffer{};
    std::va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(buffer.data(), buffer.size(), format, arguments);
    va_end(arguments);
    text.append(buffer.data(), std::min(buffer.size() - 1, static_cast<std::size_t>(std::max(length, 0))));
}

/// A destructor calls it: a file whose path cannot be allocated stays.
void deleteFilesOf(const std::string& stem) noexcept {
    for (const char* suffix : deletedSuffixes) {
        try {
            std::remove((stem + suffix).c_str());
        } catch (const std::bad_alloc&) {
            continue;
        }
    }
}

/// One value of every pin in use, as a list line.
template <typename Value>
void appendList(std::string& text, const char* key, std::uint32_t numPins, Value value) {
    text += std::string("\n") + key + "=";
    for (std::uint32_t p = 0; p < numPins; ++p) {
        append(text, p == 0 ? "%d" : ",%d", static_cast<int>(value(p)));
    }
}

/// The end of a sample's line: its number in at least four columns. Thousands of lines make a file.
void appendNumber(std::string& text, std::uint32_t number) {
    constexpr std::size_t columns = 4;
    std::array<char, 16> digits{};
    const auto length =
        static_cast<std::size_t>(std::to_chars(digits.begin(), digits.end(), number).ptr - digits.data());
    text.append(columns - std::min(columns, length), ' ');
    text.append(digits.data(), length);
    text += '\n';
}

/// The levels of all pins, one line for each sample. A pin that came into use after the channel was opened has no
/// samples and reads as 0.
template <typename Words>
std::string listing(const Words& words, std::uint32_t numPins, std::uint32_t depth, std::uint32_t wordBits) {
    std::string text;
    text.reserve(std::size_t{depth} * wordBits * (3 * numPins + 6));
    std::uint32_t sample = 0;
    constexpr std::string_view column = " 0 ";
    std::string line;
    for (std::uint32_t p = 0; p < numPins; ++p) {
        line += column;
    }
    for (std::uint32_t word = 0; word < depth; ++word) {
        std::array<std::uint32_t, registers::maxProcs> levels{};
        for (std::uint32_t p = 0; p < numPins; ++p) {
            levels[p] = word < words[p].size() ? words[p][word] : std::uint16_t{0};
        }
        for (std::uint32_t bit = 0; bit < wordBits; ++bit) {
            for (std::uint32_t p = 0; p < numPins; ++p) {
                line[p * column.size() + 1] = ((levels[p] >> bit) & 1) != 0 ? '1' : '0';
            }
            text += line;
            appendNumber(text, sample++);
        }
    }
    return text;
}

/// The registers of a dump, in the order of its lines.
class DumpList {
public:
    explicit DumpList(std::uint32_t channel) {
        using namespace registers;
        add(unitId0);
        add(unitId1);
        add(unitId2);
        add(unitId3);
        add(address(dump30, channel));
        add(address(stmTimeout, channel));
        add(address(stmControl, channel));
        for (std::uint32_t p = 0; p < maxProcs; ++p) {
            add(address(procInput, channel, p));
        }
        for (std::uint32_t p = 0; p < maxProcs; ++p) {
            add(address(procConditioning, channel, p));
        }
        addRun(dump140, 10);
        addRun(dump158, 4);
        addRun(bufferBlock0, 5);
        add(bufferBlockC);
        add(bufferBlock10);
        add(bufferBlock12);
        add(bufferBlock14);
        addRun(bufferBlock80, 2);
        addRun(bufferBlock84, 3);
    }

    static constexpr std::uint32_t size = 51;
    std::array<RegisterAccess, size> list{};

private:
    void add(std::uint32_t address) { list.at(used++) = {registers::kindUnit, address, 0}; }
    void addRun(std::uint32_t first, std::uint32_t count) {
        for (std::uint32_t k = 0; k < count; ++k) {
            add(first + 2 * k);
        }
    }

    std::size_t used = 0;
};

} // namespace

const std::string& FrontEndChannel_1::stem() const {
    return calibration.attemptFile.empty() ? settings.file : calibration.attemptFile;
}

void FrontEndChannel_1::deleteDiagnosticFiles() {
    for (const std::string& stem : session.diagnosticStems) {
        deleteFilesOf(stem);
    }
    session.diagnosticStems.clear();
    deleteFilesOf(stem());
}

void FrontEndChannel_1::checkTriggerFile() {
    std::FILE* trigger = std::fopen((stem() + ".trg.txt").c_str(), "r");
    if (trigger != nullptr) {
        std::fclose(trigger);
        signalStop(Stopped, nullptr);
    }
}

void FrontEndChannel_1::formatMetrics(std::string& text) const {
    text.clear();
    uString::toTextWithPrefix(clocking.exportFrequency, text, withSymbol, appended, "exportFrequency=%3.2f ");
    uString::toTextWithPrefix(clocking.dataFrequency, text, withSymbol, appended, "Hz\ndataFrequency=%3.2f ");
    uString::toTextWithPrefix(clocking.dataRate, text, withSymbol, appended, "words/second\ndataRate=%3.2f ");
    uString::toTextWithPrefix(clocking.oversampling, text, withSymbol, appended, "bits/second\noversampling=%3.2f ");
    text += "samples/bit\n";
}

void FrontEndChannel_1::logOvs(const Cal& target, const char* suffix) {
    const std::uint32_t used = analysis::usedPins(settings.numPins);
    TextFile file(stem() + (suffix != nullptr ? suffix : ".cap.txt"));
    std::string text;
    formatMetrics(text);
    for (std::uint32_t p = 0; p < used; ++p) {
        const ProcCal& pin = target.proc[p];
        append(text, "P%d : rcvrpin=%d,filter=%d,plateau=%d,debounce=%d,delay=%d,stretch=%d,enable=%d\n",
               static_cast<int>(p), static_cast<int>(pin.rcvrpin), static_cast<int>(pin.filter),
               static_cast<int>(pin.plateau), static_cast<int>(pin.debounce), static_cast<int>(pin.delay), pin.stretch,
               static_cast<int>(pin.enable));
    }
    for (std::uint32_t p = 0; p < used; ++p) {
        append(text, "P%d ", static_cast<int>(p));
    }
    text += "Sample\n";
    file.write(text);
    file.write(listing(oversampling.ovsWords, used, oversampling.ovsDepth, oversampling.ovsWordBits));
    file.finish();
}

void FrontEndChannel_1::logRegs() {
    DumpList dump(channelNumber);
    frontEnd->getDataClient()->read(dump.list.data(), DumpList::size);
    std::string text;
    for (const RegisterAccess& access : dump.list) {
        append(text, "\n0x%08x=", access.address);
        append(text, "0x%04x", access.value);
    }
    TextFile file(stem() + ".reg.txt");
    file.write(text + "\n");
    file.finish();
}

void FrontEndChannel_1::logCal(const Metrics& results, const Cal& target) {
    const char* xmtrType = nullptr;
    transmitter->getProperty("xmtrType", &xmtrType);
    const std::uint32_t used = analysis::usedPins(settings.numPins);
    TextFile file(stem() + ".cal.txt");
    std::string text;
    formatMetrics(text);
    text += "\n";
    for (std::uint32_t p = 0; p < used; ++p) {
        const ProcMetrics& pin = results.proc[p];
        if (p == 0) {
            text += "[Clock]\n";
        } else {
            append(text, "[Data %d]\n", static_cast<int>(p));
        }
        if (p != 0 && settings.deskewStrategy == 1) {
            std::string correlation;
            correlationString(pin, correlation);
            text += "correlation=" + correlation + "\n";
        }
        if (pin.glitches != 0) {
            append(text, "glitches=%u\n", pin.glitches);
        }
        if (pin.ringing != 0) {
            append(text, "ringing=%u\n", pin.ringing);
        }
        append(text, "edges=%u\n", pin.edges);
        if (p != 0) {
            append(text, "margin=-%u,+%u\n", pin.marginBefore, pin.marginAfter);
        }
        text += "\n";
    }
    text += "[Properties]\ndrmXmtr=" + settings.drmXmtr;
    text += std::string("\nxmtrType=") + (xmtrType != nullptr ? xmtrType : "");
    append(text, "\nnumPins=%d", static_cast<int>(settings.numPins - 1));
    const auto& proc = target.proc;
    appendList(text, "delays", used, [&](std::uint32_t p) { return proc[p].delay; });
    appendList(text, "stretches", used, [&](std::uint32_t p) { return proc[p].stretch; });
    appendList(text, "filters", used, [&](std::uint32_t p) { return proc[p].filter; });
    appendList(text, "debounces", used, [&](std::uint32_t p) { return proc[p].debounce; });
    appendList(text, "plateaus", used, [&](std::uint32_t p) { return proc[p].plateau; });
    text += "\n\n";
    file.write(text);
    if (!file.close()) {
        fail(frontEndUnit, eFAIL, "logging metrics");
    }
}

void FrontEndChannel_1::correlationString(const ProcMetrics& p, std::string& text) const {
    std::int32_t delay = 0;
    findPeakCorrelation(p, delay, maxLag);
    text.clear();
    // On purpose at the peak's negated lag, as in all earlier reports.
    append(text, "%.3f", p.correlation[static_cast<std::size_t>(delay + maxLag)]);
    append(text, ",%.3f", p.correlationAtZero);
}

} // namespace VX_QRS::ORV::CLIENT
