#pragma once

#include "common/source/source_utilities/uSocket.h"
#include "tests/simulation/scheduler/Random.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>

namespace simulation {

using SocketHandle = VX_QRS::uSocket::Handle;

/// 0 is the process of the product.
using ProcessNumber = std::uint32_t;

/// Error numbers, which are those of Windows Sockets on all systems.
namespace socketError {
inline constexpr int none = 0;
inline constexpr int brokenPipe = -1;
inline constexpr int invalid = 10022;
inline constexpr int tooManyOpen = 10024;
inline constexpr int notASocket = 10038;
inline constexpr int addressInUse = 10048;
inline constexpr int unreachable = 10051;
inline constexpr int reset = 10054;
inline constexpr int alreadyConnected = 10056;
inline constexpr int notConnected = 10057;
inline constexpr int timedOut = 10060;
inline constexpr int refused = 10061;
} // namespace socketError

/// One socket.
struct Endpoint {
    enum class State : std::uint8_t { fresh, bound, listening, connected };

    ProcessNumber process = 0;
    State state = State::fresh;
    std::uint16_t local = 0;
    std::uint16_t remote = 0;
    std::size_t backlog = 0;
    std::deque<SocketHandle> waiting; ///< connections to accept
    SocketHandle peer = VX_QRS::uSocket::invalidHandle;
    std::deque<std::uint8_t> arrived;
    bool ended = false; ///< the peer has closed; what arrived before can still be read
    bool reset = false; ///< the connection is lost
    bool toldReset = false;
};

/// The sockets of all simulated processes on one machine. What a real network leaves open is drawn from the seed of the
/// schedule: the sizes of pieces, the space for bytes on their way, and whether a reset takes unread bytes along.
class Network {
public:
    static Network& instance();

    /// Seed 0: pieces are whole.
    void begin(std::uint64_t seed);

    SocketHandle create(ProcessNumber process);
    /// Null for a handle that is not open.
    Endpoint* find(SocketHandle handle);

    /// Port 0 means any free one. Otherwise false when it is taken.
    bool bind(Endpoint& endpoint, std::uint16_t port);
    Endpoint* listenerAt(std::uint16_t port);
    static bool hasSpaceToWait(const Endpoint& listener);
    /// Connects to a listener that has space. The listener's process may accept later.
    void connect(SocketHandle client, Endpoint& listener);

    /// Moves at least one byte of `size`, unless that is 0; there has to be space. Bytes to a peer that is gone are lost.
    std::size_t send(Endpoint& from, const std::uint8_t* data, std::size_t size);
    bool hasSpaceToSend(const Endpoint& from);
    /// Moves at least one byte; some have to have arrived.
    std::size_t receive(Endpoint& to, std::uint8_t* data, std::size_t size);
    /// The connection is lost on both ends.
    void reset(Endpoint& endpoint);
    /// The end of one socket; what waits at it is lost.
    void close(SocketHandle handle);
    void closeAllOf(ProcessNumber process);
    std::size_t openSockets(ProcessNumber process) const;

    /// For what a system decides; part of the schedule.
    Random& random() { return chance; }

private:
    enum class Pieces : std::uint8_t { whole, any, small };

    std::size_t drawPiece(std::size_t most);
    void lose(Endpoint& endpoint);
    std::uint16_t freePort();

    Random chance{0};
    Pieces pieces = Pieces::whole;
    std::size_t capacity = 0; // bytes on their way in one direction
    std::map<SocketHandle, Endpoint> sockets;
    SocketHandle lastHandle = 0;
    std::uint16_t lastPort = 0;
};

} // namespace simulation
