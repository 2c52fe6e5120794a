#pragma once

#include "benchmarks/support/Report.h"

/// Each source file of this program measures one thing and adds its ratios.
void reportData(benchmarks::Report& report);
void reportPinSearch(benchmarks::Report& report);
