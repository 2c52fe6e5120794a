#include "host/session/Progress.h"

#include <cstdio>

#include "host/platform/Platform.h"
#include "rcvr/framework/cZarnError.h"

namespace host {

ProgressLine::ProgressLine() : shown(errorOutputIsTerminal()) {}

ProgressLine::~ProgressLine() {
    clear();
}

void ProgressLine::show(const std::string& text) {
    if (!shown)
        return;
    const std::lock_guard<std::mutex> lock(mutex);
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    char time[32];
    std::snprintf(time, sizeof time, "%6.1f s  ", elapsed.count());
    const std::string line = time + text;
    std::string padding;
    if (width > line.size())
        padding.assign(width - line.size(), ' ');
    width = line.size();
    std::fprintf(stderr, "\r%s%s", line.c_str(), padding.c_str());
    std::fflush(stderr);
}

void ProgressLine::clear() {
    if (!shown)
        return;
    const std::lock_guard<std::mutex> lock(mutex);
    if (width == 0)
        return;
    std::fprintf(stderr, "\r%s\r", std::string(width, ' ').c_str());
    std::fflush(stderr);
    width = 0;
}

CalibrationFollower::CalibrationFollower(Vx::Qrs::Trace::CChannelDriverProgress& source, ProgressLine& line)
    : progress(source), output(line), thread([this] { follow(); }) {}

CalibrationFollower::~CalibrationFollower() {
    ending = true;
    thread.join();
    output.clear();
}

std::string CalibrationFollower::lastText() const {
    const std::lock_guard<std::mutex> lock(mutex);
    return text;
}

void CalibrationFollower::follow() {
    while (!ending) {
        unsigned first = 0;
        int percent = -1;
        std::string now;
        try {
            progress.GetProgress(&first, &percent, &now);
        } catch (const Vx::Qrs::Zarn::cZarnErrorIF& error) {
            now = error.GetErrorText();
        }
        output.show(percent > 0 ? now + " " + std::to_string(percent) + "%" : now);
        {
            const std::lock_guard<std::mutex> lock(mutex);
            text = now;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
}

} // namespace host
