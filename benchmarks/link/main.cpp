#include "benchmarks/link/Ratios.h"

int main(int argc, char** argv) {
    benchmarks::Report report;
    reportUpload(report);
    reportRoundTrip(report);
    reportEscape(report);
    return report.run(argc, argv);
}
