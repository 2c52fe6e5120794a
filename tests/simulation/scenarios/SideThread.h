#pragma once

#include "common/source/source_utilities/uRunnable.h"
#include "common/source/source_utilities/uThread.h"
#include "tests/simulation/faults/Quiet.h"

#include <functional>
#include <utility>

namespace simulation {

/// A second thread of a scenario, quiet as the first. The destructor waits for its end.
class SideThread final : public VX_QRS::uRunnable {
public:
    explicit SideThread(std::function<void()> work) : body(std::move(work)), thread(this) { thread.start(); }
    SideThread(const SideThread&) = delete;
    SideThread& operator=(const SideThread&) = delete;
    ~SideThread() override { thread.wait(); }

    void run() override {
        const Quiet quiet;
        body();
    }
    void join() { thread.wait(); }

private:
    std::function<void()> body;
    VX_QRS::uThread thread;
};

} // namespace simulation
