#include "diagnosis/burst/BurstExport.h"

#include "toolkit/ExitCode.h"
#include "toolkit/Text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <ostream>

namespace diagnosis {

namespace {

[[noreturn]] void usage(const std::string& text) {
    throw toolkit::Failure(toolkit::ExitCode::Usage, text);
}

std::size_t procOf(std::string_view text, const Burst& burst) {
    for (std::size_t proc = 0; proc < burst.pins.size(); ++proc) {
        if (text == signalName(proc) || text == "P" + std::to_string(proc) || text == std::to_string(proc)) {
            return proc;
        }
    }
    usage("--pins: there is no pin " + toolkit::shown(text) + "; this burst has clock" +
          (burst.pins.size() > 1 ? " and data1 to " + signalName(burst.pins.size() - 1) : std::string()));
}

/// The format's identifier of a wire: one printable character.
char wireOf(std::size_t place) {
    return static_cast<char>('!' + place);
}

void writeHead(std::ostream& out, const Burst& burst, const BurstPart& part, const ExportOrigin& origin) {
    out << (origin.date.empty() ? "" : "$date " + origin.date + " $end\n");
    out << (origin.program.empty() ? "" : "$version " + origin.program + " $end\n");
    std::array<char, 64> rate{};
    std::snprintf(rate.data(), rate.size(), "%.6g", burst.rates.sampleRate());
    out << "$comment " << rate.data() << " samples a second";
    if (!burst.rates.known()) {
        out << " (no frequency was measured: the unit's usual clock)";
    }
    out << ", first sample " << part.from << " $end\n$timescale 1 ps $end\n$scope module burst $end\n";
    for (std::size_t i = 0; i < part.pins.size(); ++i) {
        out << "$var wire 1 " << wireOf(i) << " " << signalName(part.pins[i]) << " $end\n";
    }
    out << "$upscope $end\n$enddefinitions $end\n";
}

} // namespace

std::string signalName(std::size_t proc) {
    return proc == 0 ? "clock" : "data" + std::to_string(proc);
}

BurstPart partOf(const Burst& burst, std::size_t from, std::size_t to, const std::string& pins) {
    BurstPart part;
    part.from = from;
    part.to = to == 0 ? burst.samples() : to;
    if (part.from >= part.to || part.to > burst.samples()) {
        usage("--from and --to must name a part of the " + std::to_string(burst.samples()) +
              " samples: 0 <= from < to <= " + std::to_string(burst.samples()));
    }
    if (pins.empty()) {
        for (std::size_t proc = 0; proc < burst.pins.size(); ++proc) {
            part.pins.push_back(proc);
        }
        return part;
    }
    for (const std::string_view item : toolkit::splitAt(pins, ',')) {
        const std::size_t proc = procOf(toolkit::trimmed(item), burst);
        if (std::find(part.pins.begin(), part.pins.end(), proc) != part.pins.end()) {
            usage("--pins names " + signalName(proc) + " twice");
        }
        part.pins.push_back(proc);
    }
    return part;
}

std::size_t picosecondsOf(const Burst& burst, std::size_t sample) {
    return static_cast<std::size_t>(std::llround(static_cast<double>(sample) * 1e12 / burst.rates.sampleRate()));
}

void writeVcd(std::ostream& out, const Burst& burst, const BurstPart& part, const ExportOrigin& origin) {
    writeHead(out, burst, part, origin);
    const std::size_t start = picosecondsOf(burst, part.from);
    for (std::size_t sample = part.from; sample < part.to; ++sample) {
        const bool first = sample == part.from;
        bool stamped = false;
        for (std::size_t i = 0; i < part.pins.size(); ++i) {
            const auto& levels = burst.pins[part.pins[i]].levels;
            if (!first && levels[sample] == levels[sample - 1]) {
                continue;
            }
            if (!stamped) {
                out << "#" << picosecondsOf(burst, sample) - start << "\n" << (first ? "$dumpvars\n" : "");
            }
            stamped = true;
            out << (levels[sample] != 0 ? '1' : '0') << wireOf(i) << "\n";
        }
        if (first) {
            out << "$end\n";
        }
    }
    out << "#" << picosecondsOf(burst, part.to) - start << "\n";
}

void writeCsv(std::ostream& out, const Burst& burst, const BurstPart& part) {
    out << "sample,nanoseconds";
    for (const std::size_t proc : part.pins) {
        out << "," << signalName(proc);
    }
    out << "\n";
    std::array<char, 64> time{};
    for (std::size_t sample = part.from; sample < part.to; ++sample) {
        std::snprintf(time.data(), time.size(), "%.3f", static_cast<double>(picosecondsOf(burst, sample)) / 1000.0);
        out << sample << "," << time.data();
        for (const std::size_t proc : part.pins) {
            out << "," << static_cast<int>(burst.pins[proc].levels[sample]);
        }
        out << "\n";
    }
}

} // namespace diagnosis
