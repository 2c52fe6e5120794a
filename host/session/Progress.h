#pragma once

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <thread>

#include "rcvr/framework/CChannelDriver.h"

namespace host {

/// One line on the standard error output that is overwritten in place; silent unless that is a terminal. Any thread.
class ProgressLine {
public:
    ProgressLine();
    ~ProgressLine();
    void show(const std::string& text);
    void clear();

private:
    bool shown;
    std::size_t width = 0;
    std::mutex mutex;
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
};

/// Follows a calibration from a thread of its own, from construction to destruction.
class CalibrationFollower {
public:
    CalibrationFollower(Vx::Qrs::Trace::CChannelDriverProgress& source, ProgressLine& line);
    ~CalibrationFollower();
    CalibrationFollower(const CalibrationFollower&) = delete;
    CalibrationFollower& operator=(const CalibrationFollower&) = delete;

    /// What the receiver said last, such as "Kite R2 Trace - Calibration in progress".
    std::string lastText() const;

private:
    void follow();

    Vx::Qrs::Trace::CChannelDriverProgress& progress;
    ProgressLine& output;
    mutable std::mutex mutex;
    std::string text;
    std::atomic<bool> ending{false};
    std::thread thread;
};

} // namespace host
