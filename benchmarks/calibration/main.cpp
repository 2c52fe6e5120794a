#include "benchmarks/calibration/Ratios.h"

int main(int argc, char** argv) {
    benchmarks::Report report;
    reportAlign(report);
    reportAttempt(report);
    reportVerify(report);
    reportWhole(report);
    return report.run(argc, argv);
}
