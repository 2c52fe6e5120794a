#pragma once

#include "benchmarks/support/Report.h"

// The rows of the table, by the file that measures them.
void reportAlign(benchmarks::Report& report);
void reportAttempt(benchmarks::Report& report);
void reportVerify(benchmarks::Report& report);
void reportWhole(benchmarks::Report& report);
