#include "host/session/Progress.h"

#include "host/platform/Platform.h"
#include "rcvr/framework/cZarnError.h"
#include "toolkit/Masked.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string_view>
#include <vector>

namespace host {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t widestLine = 79;
constexpr auto plainInterval = std::chrono::seconds(10);
constexpr auto followInterval = std::chrono::milliseconds(50);
constexpr double enoughToEstimate = 0.05;

double secondsBetween(Clock::time_point from, Clock::time_point to) {
    return std::chrono::duration<double>(to - from).count();
}

std::vector<std::string> partsOf(const std::string& status) {
    std::vector<std::string> parts;
    for (std::size_t at = 0;;) {
        const std::size_t end = status.find(" : ", at);
        parts.push_back(status.substr(at, end - at));
        if (end == std::string::npos) {
            return parts;
        }
        at = end + 3;
    }
}

/// The receiver's status counts in powers of 1024, all that it writes in powers of 1000: only one of them is shown.
std::string decimalRate(const std::string& text) {
    constexpr std::string_view prefixes = "kMGT";
    double value = 0.0;
    int used = 0;
    if (std::sscanf(text.c_str(), "%lf %n", &value, &used) != 1 || used <= 0) {
        return text;
    }
    const std::size_t power = prefixes.find(text[static_cast<std::size_t>(used)]);
    if (power == std::string_view::npos) {
        return text;
    }
    value *= std::pow(1.024, static_cast<double>(power + 1));
    return fmt::format("{:.1f} ", value) + text.substr(static_cast<std::size_t>(used));
}

void takePart(ProgressStep& step, const std::string& part) {
    double percent = 0.0;
    int used = 0;
    if (part.ends_with("bits/second")) {
        step.rate = decimalRate(part);
    } else if (part == "uploading data") {
        step.phase = "uploading";
    } else if (part == "upload complete") {
        step.phase = "uploaded";
    } else if (std::sscanf(part.c_str(), "%lf%% %n", &percent, &used) == 1 && used > 0) {
        step.fraction = percent / 100.0;
        step.fractionWord = part.substr(static_cast<std::size_t>(used));
    }
}

} // namespace

ProgressStep stepOfStatus(const std::string& status) {
    const std::vector<std::string> parts = partsOf(status);
    ProgressStep step;
    step.phase = parts.front() == "Recording" ? "recording" : "uploading";
    for (std::size_t i = 1; i < parts.size(); ++i) {
        takePart(step, parts[i]);
    }
    return step;
}

std::string progressText(const ProgressStep& step, double elapsedSeconds) {
    std::string text = step.phase;
    if (!step.rate.empty()) {
        text += ", " + step.rate;
    }
    if (step.fraction) {
        text += fmt::format(", {:.0f}% {}", *step.fraction * 100.0, step.fractionWord);
    }
    text += fmt::format(", {:.1f} s", elapsedSeconds);
    if (step.expectedSeconds) {
        text += fmt::format(" of {:.1f} s", *step.expectedSeconds);
    } else if (step.fraction && *step.fraction >= enoughToEstimate) {
        text += fmt::format(" of about {:.1f} s", elapsedSeconds / std::min(*step.fraction, 1.0));
    }
    return text;
}

ProgressLine::ProgressLine(bool quiet)
    : style(quiet                     ? ProgressStyle::Quiet
            : errorOutputIsTerminal() ? ProgressStyle::Terminal
                                      : ProgressStyle::Plain) {}

ProgressLine::~ProgressLine() {
    clear();
}

void ProgressLine::setPrefix(const std::string& text) {
    const std::lock_guard<std::mutex> lock(mutex);
    prefix = text;
}

void ProgressLine::show(const ProgressStep& step) {
    if (style == ProgressStyle::Quiet) {
        return;
    }
    const std::lock_guard<std::mutex> lock(mutex);
    const Clock::time_point now = Clock::now();
    const bool begins = step.phase != phase;
    if (begins) {
        phase = step.phase;
        start = now;
    }
    if (style == ProgressStyle::Terminal) {
        overwrite(toolkit::masked(prefix + progressText(step, secondsBetween(start, now))));
    } else if (begins || now - lastLine >= plainInterval) {
        // A phase that begins has no progress to report.
        const std::string text = begins ? step.phase : progressText(step, secondsBetween(start, now));
        toolkit::printNotice(prefix + text);
        std::fflush(stderr);
        lastLine = now;
    }
}

void ProgressLine::overwrite(const std::string& line) {
    // A line that fills the last column would wrap on some terminals.
    const std::string cut = line.substr(0, std::min(widestLine, std::max<std::size_t>(columns(), 2) - 1));
    const std::string padding(width > cut.size() ? width - cut.size() : 0, ' ');
    width = cut.size();
    std::fprintf(stderr, "\r%s%s", cut.c_str(), padding.c_str());
    std::fflush(stderr);
}

void ProgressLine::clear() {
    const std::lock_guard<std::mutex> lock(mutex);
    phase.clear();
    if (style != ProgressStyle::Terminal || width == 0) {
        return;
    }
    std::fprintf(stderr, "\r%s\r", std::string(width, ' ').c_str());
    std::fflush(stderr);
    width = 0;
}

ProgressStep stepOfCalibration(Vx::Qrs::Trace::CChannelDriverProgress& source) {
    unsigned first = 0;
    int percent = -1;
    std::string text;
    try {
        source.GetProgress(&first, &percent, &text);
    } catch (const Vx::Qrs::Zarn::cZarnErrorIF&) {
        percent = -1; // the calibration itself reports it
    }
    ProgressStep step;
    step.phase = "calibrating";
    if (percent > 0) {
        step.fraction = percent / 100.0;
        step.fractionWord = "done";
    }
    return step;
}

ProgressFollower::ProgressFollower(std::function<ProgressStep()> source, ProgressLine& line)
    : ask(std::move(source)), output(line) {
    output.show(ask());
    thread = std::thread([this] { follow(); });
}

ProgressFollower::~ProgressFollower() {
    {
        const std::lock_guard<std::mutex> lock(mutex);
        ending = true;
    }
    ended.notify_one();
    thread.join();
    output.clear();
}

void ProgressFollower::follow() {
    std::unique_lock<std::mutex> lock(mutex);
    while (!ended.wait_for(lock, followInterval, [this] { return ending; })) {
        lock.unlock();
        output.show(ask());
        lock.lock();
    }
}

} // namespace host
