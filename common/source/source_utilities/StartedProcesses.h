#pragma once

#include <cstdint>
#include <list>
#include <mutex>

namespace VX_QRS {

// A process that was started here.
struct StartedProcess {
    std::uint32_t id = 0;
    std::intptr_t handle = 0; // the platform's, where it has one beside the id
    bool ended = false;       // and its remains are collected
};

// What the platform does; none allocates. For one that was started here:
// whether it has ended. If so, its remains are collected and its handle is closed: the platform may give the id away.
bool collectProcess(const StartedProcess& process) noexcept;
bool killProcess(const StartedProcess& process) noexcept;
// For any other, known by its id only. One of id 0 has ended, and only the first is asked about it:
bool strangerHasEnded(std::uint32_t id) noexcept;
bool killStranger(std::uint32_t id) noexcept;

// The processes that were started here and not terminated. An id whose process has ended stays in the list, since the
// platform may give the same id to a stranger, who must not be terminated in its place. Any thread may call. Only
// prepare() allocates, so that a process can be watched and terminated without memory.
class StartedProcesses {
public:
    // One entry or none, outside of the list. It is made before its process is started, since nothing may fail once
    // that runs.
    using Entry = std::list<StartedProcess>;
    static Entry prepare() { return Entry(1); }

    enum class State { stranger, running, ended };

    // Empties `prepared`.
    void add(Entry& prepared, const StartedProcess& process) noexcept;
    void collectEnded() noexcept;
    // Collects the remains of an ended one.
    State state(std::uint32_t id) noexcept;
    // Takes one out of the list, for the caller alone; empty when it is a stranger.
    Entry take(std::uint32_t id) noexcept;

private:
    std::list<StartedProcess>::iterator find(std::uint32_t id) noexcept;

    std::mutex mutex;
    std::list<StartedProcess> list;
};

// The one list of this process.
StartedProcesses& startedProcesses();

} // namespace VX_QRS
