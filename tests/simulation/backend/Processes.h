#pragma once

#include "tests/simulation/backend/Network.h"

#include <cstdint>
#include <functional>
#include <string>

namespace simulation {

/// What a simulated process runs: one thread, with the text of its arguments. It is not quiet for faults of its own
/// calls; what it calls of this back end may throw it out when the process has ended.
using Program = std::function<void(const std::string& arguments)>;

/// Forgets the processes and the programs of the schedule before.
void beginProcesses();
/// Provides the program of an image name. Starting any other name fails.
void installProgram(const std::string& image, Program program);
/// Starts a process that is not the product's child; its number.
ProcessNumber startStranger(const std::string& image, const std::string& arguments);
/// Ends a process, as someone else may at any time.
void endProcess(ProcessNumber number);
bool isProcessRunning(ProcessNumber number);
/// Processes that the product has started and that run.
std::size_t runningChildren();
/// Ends all that run and reports those that the product started and left. Waits for their threads.
void endAllProcesses();

/// Waits until no thread of an ended process runs, and with it none of the scenario's own code for it.
void awaitEndedProcesses();

/// The process of the calling thread.
ProcessNumber currentProcess();
/// For the back end: at each call of a process. Its end, asked for or drawn as a fault, takes place here, as an
/// exception that its thread does not catch. Nothing for the product's own process.
void leaveEndedProcess();
/// Whether the calling thread's process has ended, so that its waits end.
bool isProcessEnded(ProcessNumber number);

} // namespace simulation
