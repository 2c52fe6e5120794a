#pragma once

#include "common/source/source_utilities/uRunnable.h"

#include <cstdint>
#include <memory>

namespace VX_QRS {

/// One thread over a runnable, which it does not own and which must outlive the thread. Nothing here throws; an
/// exception that leaves the runnable ends the process.
///
/// One thread at a time may call start(); wait(), isCurrent() and threadId() may be called from any thread, also during
/// a start. A wait is for the thread that was the last one started when the wait began.
class uThread {
public:
    static constexpr std::uint32_t unlimited = 0xFFFFFFFF;

    /// `priority` is the platform's number: one of SetThreadPriority on Windows; on Linux its negative is the nice
    /// value. 0 is normal; a priority that the system refuses is ignored. `stackSize` is in bytes, 0 for the default.
    explicit uThread(uRunnable* runnable, std::int32_t priority = 0, std::uint32_t stackSize = 0);
    uThread(const uThread&) = delete;
    uThread& operator=(const uThread&) = delete;

    /// Does not wait: join first with wait().
    virtual ~uThread();

    /// Starts the thread; true on success. False while an earlier thread of this object still runs; after its end it may
    /// be started again.
    bool start();

    /// Waits for the end of the thread; true when it has ended. False on a timeout, without a thread, and at once on the
    /// thread itself, which cannot wait for its own end.
    bool wait(std::uint32_t milliseconds = unlimited);

    /// True on the thread that this object runs.
    bool isCurrent() const;

    /// 0 until started.
    std::uint32_t threadId() const;

    static void sleep(std::uint32_t milliseconds);

private:
    struct Native;

    uRunnable* runnable;
    std::unique_ptr<Native> native;
    std::int32_t priority;
    std::uint32_t stackSize;
};

} // namespace VX_QRS
