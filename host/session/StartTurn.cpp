#include "host/session/StartTurn.h"

#include "toolkit/ExitCode.h"

#include <string>
#include <thread>

namespace host {

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto turnInterval = std::chrono::milliseconds(20);
constexpr auto silentWait = std::chrono::seconds(1);

} // namespace

StartTurn::StartTurn(ProgressLine& line, const std::filesystem::path& file, std::chrono::milliseconds longest)
    : lock(file) {
    if (!lock.usable()) {
        return;
    }
    const auto start = Clock::now();
    while (!lock.tryLock()) {
        const auto waited = Clock::now() - start;
        if (interrupted()) {
            throw toolkit::Failure(toolkit::ExitCode::Interrupted, "interrupted before the data server was started");
        }
        if (waited >= longest) {
            throw toolkit::Failure(toolkit::ExitCode::NoSystem,
                                   "another run of orvtrace has held " + file.string() +
                                       " for too long; end the run that hangs, or wait for it");
        }
        if (waited >= silentWait) {
            line.show({"waiting for other runs to start their data servers", {}, {}, {}, {}});
        }
        std::this_thread::sleep_for(turnInterval);
    }
}

} // namespace host
