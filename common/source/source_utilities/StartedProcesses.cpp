#include "common/source/source_utilities/StartedProcesses.h"

#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uThread.h"

#include <algorithm>
#include <array>
#include <new>

namespace VX_QRS {

namespace {

bool hasEnded(StartedProcess& process) noexcept {
    process.ended = process.ended || collectProcess(process);
    return process.ended;
}

} // namespace

void StartedProcesses::add(Entry& prepared, const StartedProcess& process) noexcept {
    prepared.front() = process;
    const std::lock_guard lock(mutex);
    // An entry with the same id has ended, or the platform would not have reused the id.
    list.remove_if([&](const StartedProcess& other) { return other.id == process.id; });
    list.splice(list.end(), prepared);
}

void StartedProcesses::collectEnded() noexcept {
    const std::lock_guard lock(mutex);
    std::for_each(list.begin(), list.end(), hasEnded);
}

StartedProcesses::State StartedProcesses::state(std::uint32_t id) noexcept {
    const std::lock_guard lock(mutex);
    const auto process = find(id);
    if (process == list.end()) {
        return State::stranger;
    }
    return hasEnded(*process) ? State::ended : State::running;
}

StartedProcesses::Entry StartedProcesses::take(std::uint32_t id) noexcept {
    Entry taken;
    const std::lock_guard lock(mutex);
    const auto process = find(id);
    if (process != list.end()) {
        taken.splice(taken.end(), list, process);
    }
    return taken;
}

std::list<StartedProcess>::iterator StartedProcesses::find(std::uint32_t id) noexcept {
    return std::find_if(list.begin(), list.end(), [id](const StartedProcess& process) { return process.id == id; });
}

StartedProcesses& startedProcesses() {
    // Never destroyed, since a process may be terminated while static objects are destroyed, and without an allocation.
    alignas(StartedProcesses) static std::array<unsigned char, sizeof(StartedProcesses)> place;
    static auto* const processes = new (place.data()) StartedProcesses;
    return *processes;
}

bool uEnvironment::processHasEnded(std::uint32_t processId) noexcept {
    const StartedProcesses::State state = startedProcesses().state(processId);
    return state == StartedProcesses::State::stranger ? strangerHasEnded(processId)
                                                      : state == StartedProcesses::State::ended;
}

bool uEnvironment::terminateProcess(std::uint32_t processId) noexcept {
    if (processId == 0) {
        return false;
    }
    StartedProcesses::Entry taken = startedProcesses().take(processId);
    if (taken.empty()) {
        return killStranger(processId);
    }
    StartedProcess& process = taken.front();
    const bool terminated = !hasEnded(process) && killProcess(process);
    // A killed process ends soon; it is reaped here rather than at a later call.
    for (int i = 0; i < 1000 && !hasEnded(process); ++i) {
        uThread::sleep(1);
    }
    if (!hasEnded(process)) {
        startedProcesses().add(taken, process);
    }
    return terminated;
}

} // namespace VX_QRS
