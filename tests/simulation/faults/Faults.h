#pragma once

#include "tests/simulation/scheduler/Strategy.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace simulation {

/// What can fail.
enum class Fault : std::uint8_t {
    memory,
    threadStart,
    fileOpen,
    fileRead,
    fileWrite, ///< half of it is written
    fileFlush,
    fileClose,
    fileRename,
    fileRemove,
    fileLink,
    socketCreate,
    socketListen,
    socketAccept,
    socketConnect,
    socketReset, ///< a call finds the connection reset
    socketEnd,   ///< a call finds that the peer has closed
    libraryLoad,
    processList,
    processStart,
    processDeath, ///< a started process ends at this call to it
    request,      ///< of the unit
};

const char* nameOf(Fault fault);
const std::vector<Fault>& allFaults();

/// Which operation fails: of that kind, the `index`-th (from 0) of that thread. A thread's own count survives when other
/// threads do less.
struct FaultPlan {
    Fault fault = Fault::memory;
    ThreadNumber thread = 0;
    std::uint32_t index = 0;
    bool andLater = false; ///< so do all of that kind from then on, on every thread
};

/// As in "fileWrite:1:3" or, with all later ones, "fileWrite:1:3+".
std::string textOf(const FaultPlan& plan);
/// Throws std::invalid_argument on anything else.
FaultPlan faultPlanOf(const std::string& text);

/// Counts the operations of one schedule and decides which fail.
class Faults {
public:
    using Counts = std::map<std::pair<Fault, ThreadNumber>, std::uint32_t>;

    static Faults& instance();
    void begin(const std::optional<FaultPlan>& plan);
    /// Counts an operation of the calling thread; true when it has to fail. Only simulated threads' operations fail, and
    /// none of the simulation itself.
    bool fails(Fault fault);
    /// Whether any operation has failed since the begin.
    bool haveFailed() const { return failed; }
    /// From now on nothing fails and nothing is counted: whether all recovers.
    void end() {
        current.reset();
        ended = true;
    }
    const Counts& counts() const { return counted; }

private:
    std::optional<FaultPlan> current;
    Counts counted;
    bool started = false;
    bool failed = false;
    bool ended = false;
};

inline bool fails(Fault fault) {
    return Faults::instance().fails(fault);
}

} // namespace simulation
