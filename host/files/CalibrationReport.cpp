#include "host/files/CalibrationReport.h"

#include <charconv>
#include <cstdio>

#include "host/basics/ExitCode.h"
#include "host/basics/TextFile.h"

namespace host {

namespace {

constexpr std::uint32_t notMeasured = 0x7FFFFFFF;

template <class Number>
std::optional<Number> numberOf(const std::string& text) {
    Number value{};
    const char* end = text.data() + text.size();
    const auto [stopped, failed] = std::from_chars(text.data(), end, value);
    if (failed != std::errc() || stopped != end)
        return std::nullopt;
    return value;
}

std::optional<std::uint32_t> marginOf(const std::string& text, char sign) {
    if (text.empty() || text.front() != sign)
        return std::nullopt;
    const auto value = numberOf<std::uint32_t>(text.substr(1));
    return value && *value != notMeasured ? value : std::nullopt;
}

void takePinLine(PinReport& pin, const std::string& key, const std::string& value) {
    const std::vector<std::string> parts = split(value, ',');
    if (key == "correlation" && parts.size() == 2) {
        pin.correlation = numberOf<double>(parts[0]);
        pin.correlationAtZero = numberOf<double>(parts[1]);
    } else if (key == "edges") {
        pin.edges = numberOf<unsigned>(value);
    } else if (key == "glitches") {
        pin.glitches = numberOf<unsigned>(value);
    } else if (key == "ringing") {
        pin.ringing = numberOf<unsigned>(value);
    } else if (key == "margin" && parts.size() == 2) {
        pin.marginBefore = marginOf(parts[0], '-');
        pin.marginAfter = marginOf(parts[1], '+');
    }
}

void takeList(std::vector<PinReport>& pins, std::optional<int> PinReport::*field, const std::string& value) {
    const std::vector<std::string> parts = split(value, ',');
    for (std::size_t i = 0; i < parts.size() && i < pins.size(); ++i)
        pins[i].*field = numberOf<int>(parts[i]);
}

void takeProperty(CalibrationReport& report, const std::string& key, const std::string& value) {
    if (key == "drmXmtr")
        report.exportKind = value;
    else if (key == "delays")
        takeList(report.pins, &PinReport::delay, value);
    else if (key == "stretches")
        takeList(report.pins, &PinReport::stretch, value);
    else if (key == "filters")
        takeList(report.pins, &PinReport::filter, value);
    else if (key == "debounces")
        takeList(report.pins, &PinReport::debounce, value);
    else if (key == "plateaus")
        takeList(report.pins, &PinReport::plateau, value);
}

void takeHead(CalibrationReport& report, const std::string& key, const std::string& value) {
    if (key == "exportFrequency")
        report.exportFrequency = value;
    else if (key == "dataRate")
        report.dataRate = value;
    else if (key == "oversampling")
        report.oversampling = value;
}

} // namespace

CalibrationReport parseCalibrationReport(const std::string& text, const std::string& file) {
    CalibrationReport report;
    bool properties = false;
    for (const std::string& line : splitLines(text)) {
        if (line.size() > 2 && line.front() == '[' && line.back() == ']') {
            const std::string section = line.substr(1, line.size() - 2);
            properties = section == "Properties";
            if (!properties)
                report.pins.push_back(PinReport{section, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}});
            continue;
        }
        const std::size_t equals = line.find('=');
        if (equals == std::string::npos)
            continue;
        const std::string key = line.substr(0, equals);
        const std::string value = line.substr(equals + 1);
        if (properties)
            takeProperty(report, key, value);
        else if (report.pins.empty())
            takeHead(report, key, value);
        else
            takePinLine(report.pins.back(), key, value);
    }
    if (report.pins.empty() || report.exportFrequency.empty())
        throw Failure(ExitCode::BadInput, file + " is no calibration report");
    return report;
}

CalibrationReport readCalibrationReport(const std::filesystem::path& file) {
    return parseCalibrationReport(readText(file), file.string());
}

} // namespace host
