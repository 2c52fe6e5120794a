// Processes as simulated threads: each has a number, sockets of its own and an end that may come at any call.

#include "tests/simulation/backend/Processes.h"

#include "common/source/source_utilities/NativeEnvironment.h"
#include "common/source/source_utilities/StartedProcesses.h"
#include "common/source/source_utilities/uEnvironment.h"
#include "tests/simulation/faults/Faults.h"
#include "tests/simulation/faults/Quiet.h"
#include "tests/simulation/scheduler/Scheduler.h"

#include <algorithm>
#include <exception>
#include <map>
#include <utility>

namespace simulation {

namespace {

constexpr ProcessNumber firstNumber = 5000;

/// Thrown through the thread of an ended process.
struct ProcessEnd {};

struct Process {
    std::string image;
    Program program;
    std::string arguments;
    bool isChild = false; // of the product's process
    bool ended = false;
    ThreadNumber thread = 0;
    unsigned unseenEnds = 0; // looks of the parent that do not see the end yet
};

/// Only the one running thread comes here.
struct Table {
    std::map<std::string, Program> programs;
    std::map<ProcessNumber, Process> processes;
    std::map<ThreadNumber, ProcessNumber> threads;
    ProcessNumber last = firstNumber;
};

Table& table() {
    static auto* all = new Table;
    return *all;
}

Process* find(ProcessNumber number) {
    const auto found = table().processes.find(number);
    return found == table().processes.end() ? nullptr : &found->second;
}

void point(const char* what) {
    if (Scheduler::isSimulated()) {
        Scheduler::instance().point({Operation::process, what});
    }
}

void runProcess(ProcessNumber number) {
    Scheduler& scheduler = Scheduler::instance();
    const Quiet quiet;
    table().threads[scheduler.self()] = number;
    scheduler.point({Operation::begin, "process"});
    const Process& process = *find(number);
    try {
        leaveEndedProcess();
        process.program(process.arguments);
    } catch (const ProcessEnd&) {
        // Ended from outside or by a fault.
    } catch (const std::exception& e) {
        scheduler.report("escaped exception", "from " + process.image + ": " + e.what());
    }
    endProcess(number);
}

ProcessNumber launch(const std::string& image, const std::string& arguments, bool isChild) {
    const Quiet quiet;
    if (!table().programs.contains(image)) {
        return 0;
    }
    const ProcessNumber number = ++table().last;
    constexpr unsigned mostUnseen = 3;
    const auto unseen = static_cast<unsigned>(Network::instance().random().below(mostUnseen));
    table().processes[number] = {image, table().programs.at(image), arguments, isChild, false, 0, unseen};
    find(number)->thread = Scheduler::instance().start([number] { runProcess(number); });
    return number;
}

} // namespace

void beginProcesses() {
    const Quiet quiet;
    table() = Table{};
}

void installProgram(const std::string& image, Program program) {
    const Quiet quiet;
    table().programs[image] = std::move(program);
}

ProcessNumber startStranger(const std::string& image, const std::string& arguments) {
    return launch(image, arguments, false);
}

void endProcess(ProcessNumber number) {
    const Quiet quiet;
    if (Process* process = find(number); process != nullptr && !process->ended) {
        process->ended = true;
        Network::instance().closeAllOf(number);
    }
}

bool isProcessRunning(ProcessNumber number) {
    const Process* process = find(number);
    return process != nullptr && !process->ended;
}

std::size_t runningChildren() {
    std::size_t count = 0;
    for (const auto& [number, process] : table().processes) {
        count += process.isChild && !process.ended ? 1 : 0;
    }
    return count;
}

void endAllProcesses() {
    for (const auto& [number, process] : table().processes) {
        if (process.isChild && !process.ended) {
            Scheduler::instance().report("process left", process.image + " " + process.arguments);
        }
        endProcess(number);
    }
    awaitEndedProcesses();
}

void awaitEndedProcesses() {
    const Quiet quiet;
    const Condition condition{
        [](const void*) {
            return std::all_of(table().processes.begin(), table().processes.end(), [](const auto& entry) {
                return !entry.second.ended || Scheduler::instance().hasEnded(entry.second.thread);
            });
        },
        [](const void*) { return std::string("the threads of ended processes"); }, nullptr};
    Scheduler::instance().wait({Operation::process, "end of processes"}, condition);
}

ProcessNumber currentProcess() {
    if (!Scheduler::isSimulated()) {
        return 0;
    }
    const auto found = table().threads.find(Scheduler::instance().self());
    return found == table().threads.end() ? 0 : found->second;
}

bool isProcessEnded(ProcessNumber number) {
    return number != 0 && find(number)->ended;
}

void leaveEndedProcess() {
    const ProcessNumber self = currentProcess();
    if (self == 0) {
        return;
    }
    const ProductCall counted; // a process of the simulation is quiet, but its end is a fault of the schedule
    if (fails(Fault::processDeath)) {
        endProcess(self);
    }
    if (isProcessEnded(self)) {
        throw ProcessEnd{};
    }
}

} // namespace simulation

namespace VX_QRS {

using simulation::Fault;

bool collectProcess(const StartedProcess& process) noexcept {
    simulation::point("collectProcess");
    simulation::Process* found = simulation::find(process.id);
    if (found == nullptr || !found->ended) {
        return found == nullptr;
    }
    if (found->unseenEnds > 0) {
        --found->unseenEnds;
        return false;
    }
    return true;
}

bool killProcess(const StartedProcess& process) noexcept {
    simulation::point("killProcess");
    const bool isRunning = simulation::isProcessRunning(process.id);
    simulation::endProcess(process.id);
    return isRunning;
}

bool strangerHasEnded(std::uint32_t id) noexcept {
    simulation::point("strangerHasEnded");
    return !simulation::isProcessRunning(id);
}

bool killStranger(std::uint32_t id) noexcept {
    return killProcess({id, 0, false});
}

bool nativeEnvironment::listProcesses(std::vector<Process>& processes) {
    startedProcesses().collectEnded();
    simulation::point("listProcesses");
    if (simulation::fails(Fault::processList)) {
        return false;
    }
    for (const auto& [number, process] : simulation::table().processes) {
        if (!process.ended) {
            processes.push_back({number, process.image});
        }
    }
    return true;
}

std::uint32_t uEnvironment::startProcess(const char* imageName, const char* arguments, int) {
    startedProcesses().collectEnded();
    if (imageName == nullptr) {
        return 0;
    }
    StartedProcesses::Entry entry = StartedProcesses::prepare();
    simulation::point("startProcess");
    if (simulation::fails(Fault::processStart)) {
        return 0;
    }
    const std::uint32_t id = simulation::launch(imageName, arguments != nullptr ? arguments : "", true);
    if (id != 0) {
        startedProcesses().add(entry, {id, 0, false});
    }
    simulation::point("startProcess done");
    return id;
}

} // namespace VX_QRS
