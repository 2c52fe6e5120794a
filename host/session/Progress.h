#pragma once

#include "host/platform/Platform.h"
#include "rcvr/framework/CChannelDriver.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace host {

/// The state of a run at one moment.
struct ProgressStep {
    std::string phase; ///< such as "recording"; a new one starts the clock again
    std::string rate;  ///< such as "190.7 Mbits/second"; may be empty
    std::optional<double> fraction;
    std::string fractionWord;              ///< what the fraction counts, such as "full"
    std::optional<double> expectedSeconds; ///< of the phase, if that is known
};

/// The receiver's status text, such as "Recording : 190.7 Mbits/second :  37% full", as a step.
ProgressStep stepOfStatus(const std::string& status);

/// "recording, 190.7 Mbits/second, 37% full, 1.2 s of about 3.2 s". Without an expected time it follows from the
/// fraction, once a twentieth is done.
std::string progressText(const ProgressStep& step, double elapsedSeconds);

enum class ProgressStyle {
    Terminal, ///< one line, overwritten in place
    Plain,    ///< a line for each phase and one every ten seconds in it
    Quiet,    ///< nothing
};

/// Progress on the standard error output. Any thread.
class ProgressLine {
public:
    /// Terminal or Plain as the standard error output is one or not, or Quiet.
    explicit ProgressLine(bool quiet);
    explicit ProgressLine(ProgressStyle wanted, std::function<std::size_t()> terminal = errorOutputColumns)
        : style(wanted), columns(std::move(terminal)) {}
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    /// Text before every phase from here on, such as "2 of 5: ".
    void setPrefix(const std::string& text);
    void show(const ProgressStep& step);
    /// Removes the line from a terminal; the next step is a new phase.
    void clear();

private:
    void overwrite(const std::string& line);

    ProgressStyle style;
    std::function<std::size_t()> columns = errorOutputColumns; ///< of the terminal at this moment
    std::string prefix;
    std::string phase;
    std::size_t width = 0;
    std::chrono::steady_clock::time_point start;
    std::chrono::steady_clock::time_point lastLine;
    std::mutex mutex;
};

/// The progress of a calibration.
ProgressStep stepOfCalibration(Vx::Qrs::Trace::CChannelDriverProgress& source);

/// Shows progress from construction to destruction: at once, and then repeatedly from a thread of its own.
class ProgressFollower {
public:
    ProgressFollower(std::function<ProgressStep()> source, ProgressLine& line);
    ~ProgressFollower();
    ProgressFollower(const ProgressFollower&) = delete;
    ProgressFollower& operator=(const ProgressFollower&) = delete;

private:
    void follow();

    std::function<ProgressStep()> ask;
    ProgressLine& output;
    std::mutex mutex;
    std::condition_variable ended;
    bool ending = false; ///< guarded by `mutex`
    std::thread thread;
};

} // namespace host
