#pragma once

namespace benchmarks {

/// Processor time in seconds, user and system: of this process, and of its children that have ended. Load of the machine
/// changes it less than the time that passes.
double processorSeconds();

} // namespace benchmarks
