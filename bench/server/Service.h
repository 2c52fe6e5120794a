#pragma once

#include "bench/server/Codec.h"
#include "bench/unit/Unit.h"

#include <cstdint>
#include <mutex>
#include <utility>

namespace bench {

/// Answers requests of the data client, one reply each. The unit is shared with the side connections, so each
/// request runs under the mutex.
class Service {
public:
    Service(Unit& sharedUnit, std::mutex& unitMutex, std::uint32_t reportedVersion)
        : unit(sharedUnit), mutex(unitMutex), version(reportedVersion) {}

    /// The command 'D' has no reply: the result is empty and `ended` holds from then on. Records that are in the
    /// writer already are sent first.
    Bytes answer(const Request& request, ReplyWriter reply = {});
    bool ended() const { return over; }

    /// Makes a part of the data that a later reply will have. False when there is none to make, or enough is made.
    bool prepare();
    /// The memory of a reply that was sent, for a later one.
    void reuse(Bytes memory) {
        if (memory.capacity() > spare.capacity()) {
            spare = std::move(memory);
        }
    }

private:
    void carryOut(const Request& request, ReplyWriter& reply);
    void readRegisters(ArgumentReader& in, ReplyWriter& reply);
    void writeRegisters(ArgumentReader& in, ReplyWriter& reply);

    Unit& unit;
    std::mutex& mutex;
    std::uint32_t version;
    bool over = false;
    ReplyWriter ahead; ///< records of the data that the unit has read ahead
    Bytes spare;
};

} // namespace bench
