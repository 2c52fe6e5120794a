#include "benchmarks/recording/RecordingRig.h"
#include "benchmarks/support/Report.h"

#include <string>

// Figures of a recording over the bench's server process on 127.0.0.1.
int main(int argc, char** argv) {
    using namespace benchmarks;
    using recording_benchmark::uploadedBytes;
    Report report;
    report.figure("control thread of a running recording, share of a core",
                  counterOf("watch/iterations:1/manual_time", "percent"), "%", atMost(1.0));
    report.ratio("the same against a bare loop of the calls that a pass orders",
                 counterOf("watch/iterations:1/manual_time", "percent"),
                 counterOf("bareWatch/iterations:1/manual_time", "percent"), atMost(1.2));
    report.figure("start to the first byte recorded, outside the waits",
                  secondsOf("start/iterations:20/manual_time", 1e3), "ms");
    report.figure("stop to the first byte uploaded, outside the waits",
                  secondsOf("stop/iterations:20/manual_time", 1e3), "ms");
    const std::string cycle = "cycle/iterations:20/manual_time";
    report.ratio("start and stop: time against the waits that they order", counterOf(cycle, "whole"),
                 counterOf(cycle, "ordered"), atMost(1.2));
    report.figure("  waits that they order", counterOf(cycle, "ordered", 1e3), "ms");
    report.figure("  number of these waits", counterOf(cycle, "sleeps"), "");
    report.figure("  late wake-ups", counterOf(cycle, "late", 1e3), "ms");
    report.figure("  outside of all waits", counterOf(cycle, "own", 1e3), "ms");
    report.figure("  processor time without the server's", counterOf(cycle, "used", 1e3), "ms");
    const std::string upload = "upload/iterations:1/manual_time";
    report.figure("upload of 128 MiB, from the end of the recording", perSecondOf(upload, uploadedBytes), "byte/s",
                  atLeast(1e9));
    report.figure("  passes of the control thread", counterOf(upload, "passes"), "");
    report.figure("  waits that they order", counterOf(upload, "ordered"), "s");
    report.figure("  processor time", counterOf(upload, "used"), "s");
    report.figure("  peak memory above idle", counterOf(upload, "peak", 1.0 / (1 << 20)), "MiB", atMost(16));
    return report.run(argc, argv);
}
