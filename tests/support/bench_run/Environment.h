#pragma once

namespace bench_run {

/// Sets a variable for this process, its libraries (by any function that reads it) and the processes that it starts.
/// An empty value removes it.
void setVariable(const char* name, const char* value);

} // namespace bench_run
