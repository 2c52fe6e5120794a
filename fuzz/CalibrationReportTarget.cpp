#include "diagnosis/files/CalFile.h"
#include "fuzz/Require.h"
#include "fuzz/Targets.h"
#include "fuzz/Text.h"
#include "rcvr/framework/TraceLimits.h"

#include <cmath>
#include <sstream>
#include <string>

namespace fuzz {

namespace {

using diagnosis::CalFile;
using diagnosis::CalPin;

constexpr std::uint32_t notMeasured = Vx::Qrs::Trace::limits::notMeasured;

/// The lists come last, from which the reader sees that the file is whole.
void writeLists(std::ostream& out, const CalFile& cal) {
    const auto list = [&](const char* key, std::optional<int> CalPin::* field) {
        out << "\n" << key << "=";
        for (const CalPin& pin : cal.pins) {
            out << (&pin == &cal.pins.front() ? "" : ",") << (pin.*field).value_or(static_cast<int>(notMeasured));
        }
    };
    list("delays", &CalPin::delay);
    list("stretches", &CalPin::stretch);
    list("filters", &CalPin::filter);
    list("debounces", &CalPin::debounce);
    list("plateaus", &CalPin::plateau);
    out << "\n\n";
}

/// As the receiver writes it, after the head; correlations in full.
std::string written(const CalFile& cal, std::string_view head) {
    std::ostringstream out;
    out.precision(17);
    out << head << "\n";
    for (const CalPin& pin : cal.pins) {
        out << "\n[" << pin.name << "]\n";
        if (pin.correlation) {
            out << "correlation=" << *pin.correlation << "," << *pin.correlationAtZero << "\n";
        }
        if (pin.edges) {
            out << "edges=" << *pin.edges << "\n";
        }
        if (pin.holdMargin || pin.setupMargin) {
            out << "margin=-" << pin.holdMargin.value_or(notMeasured) << ",+" << pin.setupMargin.value_or(notMeasured)
                << "\n";
        }
    }
    out << "[Properties]";
    writeLists(out, cal);
    return out.str();
}

bool same(const std::optional<double>& one, const std::optional<double>& other) {
    return one == other || (one && other && std::isnan(*one) && std::isnan(*other));
}

bool same(const CalPin& one, const CalPin& other) {
    return one.name == other.name && same(one.correlation, other.correlation) &&
           same(one.correlationAtZero, other.correlationAtZero) && one.edges == other.edges &&
           one.holdMargin == other.holdMargin && one.setupMargin == other.setupMargin && one.delay == other.delay &&
           one.stretch == other.stretch && one.filter == other.filter && one.debounce == other.debounce &&
           one.plateau == other.plateau;
}

} // namespace

void calibrationReport(Input input) {
    const auto cal = parsed(diagnosis::parseCalFile, textOf(input));
    if (!cal) {
        return;
    }
    require(!cal->pins.empty() && cal->pins.size() <= 8, "a report has a clock and up to seven data pins");
    require(std::isfinite(cal->rates.sampleRate()) && cal->rates.sampleRate() > 0.0, "a rate of samples");
    cal->rates.neededMargin();
    cal->rates.bitSamples();
    const auto again = parsed(diagnosis::parseCalFile, written(*cal, ratesOf(textOf(input))));
    require(again && again->pins.size() == cal->pins.size(), "what was written is read");
    for (std::size_t i = 0; i < cal->pins.size(); ++i) {
        require(same(cal->pins[i], again->pins[i]), "a written pin is the same");
    }
}

} // namespace fuzz
