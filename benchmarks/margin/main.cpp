#include "benchmarks/support/Report.h"

#include <string>

// A point of a margin scan on the bench, against the sleeps that the library orders for it.
int main(int argc, char** argv) {
    using namespace benchmarks;
    Report report;
    const std::string points = "points/iterations:1/manual_time";
    report.ratio("point of a scan: time against the waits that the library orders, mean", counterOf(points, "whole"),
                 counterOf(points, "ordered"), atMost(1.3));
    report.figure("  of the point with the least", counterOf(points, "least"), "");
    report.figure("  median point", counterOf(points, "median"), "");
    report.figure("  of the point with the most, past a wall", counterOf(points, "most"), "");
    report.figure("mean point", counterOf(points, "whole", 1e3), "ms");
    report.figure("  waits that the library orders", counterOf(points, "ordered", 1e3), "ms");
    report.figure("  number of these waits", counterOf(points, "sleeps"), "");
    report.figure("  late wake-ups", counterOf(points, "late", 1e3), "ms");
    report.figure("  outside of these waits", counterOf(points, "own", 1e3), "ms");
    report.figure("points of a scan", counterOf(points, "points"), "");
    return report.run(argc, argv);
}
