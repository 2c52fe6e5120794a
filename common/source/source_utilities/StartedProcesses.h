#pragma once

#include <cstdint>
#include <list>
#include <mutex>

namespace VX_QRS {

/// A process that this process started.
struct StartedProcess {
    std::uint32_t id = 0;
    std::intptr_t handle = 0; // the platform's, where it has one besides the id
    bool ended = false;       // and its remains are collected
};

/// Platform layer; allocates nothing. For a process started here: whether it has ended. If so, it is reaped and its
/// handle closed, after which the platform may reuse the id.
bool collectProcess(const StartedProcess& process) noexcept;
bool killProcess(const StartedProcess& process) noexcept;
/// For any other process, known by its id only. Id 0 has ended; only the first function is called for it:
bool strangerHasEnded(std::uint32_t id) noexcept;
bool killStranger(std::uint32_t id) noexcept;

/// The processes that were started here and not terminated. The id of an ended process stays in the list, since the
/// platform may reuse it for another process, which must not be terminated by mistake. Thread-safe. Only prepare()
/// allocates, so that a process can be watched and terminated without memory.
class StartedProcesses {
public:
    /// One entry or none, outside of the list. Allocated before its process is started: nothing may fail afterwards.
    using Entry = std::list<StartedProcess>;
    static Entry prepare() { return Entry(1); }

    enum class State { stranger, running, ended };

    /// Empties `prepared`.
    void add(Entry& prepared, const StartedProcess& process) noexcept;
    void collectEnded() noexcept;
    /// Reaps an ended process.
    State state(std::uint32_t id) noexcept;
    /// Removes a process from the list for the caller; empty when it was not started here.
    Entry take(std::uint32_t id) noexcept;

private:
    std::list<StartedProcess>::iterator find(std::uint32_t id) noexcept;

    std::mutex mutex;
    std::list<StartedProcess> list;
};

/// The process-wide list.
StartedProcesses& startedProcesses();

} // namespace VX_QRS
