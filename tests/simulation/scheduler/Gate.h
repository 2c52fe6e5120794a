#pragma once

namespace simulation {

/// Lets one thread pass for each opening. The thread that opens and the one that passes are ordered by it, which a race
/// detector must not see: its file is compiled without instrumentation, so that only the simulated locks order threads.
class Gate {
public:
    void open();
    /// Blocks until opened, and closes it again.
    void pass();

private:
    int opened = 0;
};

} // namespace simulation
