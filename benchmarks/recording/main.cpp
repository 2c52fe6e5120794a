#include "benchmarks/support/Report.h"

// Figures of a recording over the bench's server process on 127.0.0.1.
int main(int argc, char** argv) {
    using namespace benchmarks;
    Report report;
    report.figure("control thread of a running recording, share of a core",
                  counterOf("watch/iterations:1/manual_time", "percent"), "%", atMost(1.0));
    report.figure("start to the first byte recorded, outside the waits",
                  secondsOf("start/iterations:20/manual_time", 1e3), "ms");
    report.figure("stop to the first byte uploaded, outside the waits",
                  secondsOf("stop/iterations:20/manual_time", 1e3), "ms");
    return report.run(argc, argv);
}
