#include "benchmarks/framework/Ratios.h"

int main(int argc, char** argv) {
    benchmarks::Report report;
    reportData(report);
    reportPinSearch(report);
    return report.run(argc, argv);
}
