#include "host/results/ResultText.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <sstream>

#include "host/basics/TextFile.h"

namespace host {

namespace {

// The C++ run-time used here formats in the GNU way on both systems, which only GCC has a name for.
#ifdef __clang__
__attribute__((format(printf, 1, 2)))
#else
__attribute__((format(gnu_printf, 1, 2)))
#endif
std::string
print(const char* format, ...) {
    std::array<char, 512> text{};
    va_list values;
    va_start(values, format);
    std::vsnprintf(text.data(), text.size(), format, values);
    va_end(values);
    return text.data();
}

template <class Number>
std::string orDash(const std::optional<Number>& value) {
    if (!value)
        return "-";
    if constexpr (std::is_floating_point_v<Number>)
        return print("%.3f", static_cast<double>(*value));
    else
        return std::to_string(*value);
}

std::string marginText(const PinReport& pin) {
    if (!pin.marginBefore && !pin.marginAfter)
        return "-";
    return print("-%s +%s", orDash(pin.marginBefore).c_str(), orDash(pin.marginAfter).c_str());
}

void addPins(std::ostringstream& out, const CalibrationReport& report, std::vector<PinPlace> places) {
    places.resize(report.pins.size());
    out << print("%-8s %3s %3s %6s %8s %12s %12s\n", "pin", "emu", "bit", "delay", "stretch", "margin", "correlation");
    for (std::size_t i = 0; i < report.pins.size(); ++i) {
        const PinReport& pin = report.pins[i];
        const PinPlace& place = places[i];
        out << print("%-8s %3s %3s %6s %8s %12s %12s\n", pin.name.c_str(), orDash(place.emu).c_str(),
                     orDash(place.bit).c_str(), orDash(pin.delay).c_str(), orDash(pin.stretch).c_str(),
                     marginText(pin).c_str(), orDash(pin.correlationAtZero).c_str());
    }
    out << "lengths are in samples of the capture unit; the margin is the room around the sampling point, the\n"
           "correlation is with the first data pin, 1 when both change together\n";
}

void addCalibration(std::ostringstream& out, const RecordResult& result) {
    if (result.calibrated) {
        out << "calibrated";
        if (const FrequencySetting* chosen = result.log.chosen())
            out << " at " << frequencyText(chosen->hertz) << ", setting " << chosen->setting << " of "
                << result.log.frequencies.size();
        else
            out << " with fixed values, no frequency was measured";
        if (result.calibration)
            out << " (data rate " << result.calibration->dataRate << ")";
        out << print(", in %.1f s\n", result.calibrationSeconds);
    } else {
        out << "not calibrated\n";
    }
    for (const FrequencySetting& entry : result.log.frequencies) {
        if (entry.verdict == FrequencySetting::Verdict::Rejected)
            out << "  rejected: setting " << entry.setting << ", "
                << (entry.hertz > 0.0 ? frequencyText(entry.hertz) : std::string("no frequency")) << ": "
                << plainReason(entry.reason) << "\n";
    }
    if (result.calibration) {
        out << "\n";
        addPins(out, *result.calibration, placesOf(result.pinMap));
    }
}

} // namespace

std::string frequencyText(double hertz) {
    constexpr std::array<std::pair<double, const char*>, 3> scales{{{1e9, "GHz"}, {1e6, "MHz"}, {1e3, "kHz"}}};
    for (const auto& [scale, unit] : scales) {
        if (hertz >= scale)
            return print("%.4g %s", hertz / scale, unit);
    }
    return print("%.4g Hz", hertz);
}

std::string sizeText(std::uint64_t bytes) {
    constexpr std::array units{"bytes", "kB", "MB", "GB"};
    double value = static_cast<double>(bytes);
    std::size_t unit = 0;
    while (value >= 1024.0 && unit + 1 < units.size()) {
        value /= 1024.0;
        ++unit;
    }
    return print("%.*f %s", unit == 0 ? 0 : 2, value, units[unit]);
}

std::string plainReason(const std::string& reason) {
    const std::size_t colon = reason.find(") : ");
    if (colon == std::string::npos || reason.empty() || reason.front() != 'e')
        return reason;
    return reason.substr(colon + 4);
}

std::vector<PinPlace> placesOf(const std::string& pinMap) {
    std::vector<unsigned> pins;
    for (const std::string& item : split(pinMap, ',')) {
        unsigned pin = 0;
        if (std::sscanf(item.c_str(), "%u", &pin) != 1)
            return {};
        pins.push_back(pin);
    }
    std::vector<PinPlace> places;
    if (pins.empty())
        return places;
    places.push_back(PinPlace{pins.front(), std::nullopt});
    for (std::size_t i = pins.size() - 1; i > 0; --i)
        places.push_back(PinPlace{pins[i], static_cast<unsigned>(i - 1)});
    return places;
}

std::string resultText(const RecordResult& result) {
    std::ostringstream out;
    if (!result.scenario.empty())
        out << "scenario " << result.scenario << ", cpu " << result.cpu << "\n";
    if (result.calibrated || !result.log.frequencies.empty() || result.code == ExitCode::CalibrationRefused)
        addCalibration(out, result);
    if (result.recorded) {
        out << "\nrecorded " << sizeText(result.samples * 8) << " (" << result.samples << " samples)"
            << print(" in %.2f s", result.recordingSeconds) << (result.wrapped ? ", the buffer wrapped" : "") << ": "
            << result.state << "\n";
        out << print("checksum %08x (CRC-32 of all bytes)\n", result.checksum);
    }
    if (!result.files.empty()) {
        out << "\nfiles\n";
        for (const auto& [what, where] : result.files)
            out << print("  %-20s ", what.c_str()) << where << "\n";
    }
    return out.str();
}

} // namespace host
