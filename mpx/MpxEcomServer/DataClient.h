#pragma once

#include <cstdint>
#include <stdexcept>

namespace VX_QRS::ORV {

/// One access to a register of the capture unit. Lists of these are the only way to the unit's registers. On the
/// wire a record is 12 bytes: the three fields in this order, each little-endian.
struct RegisterAccess {
    std::uint32_t kind = 0;    ///< 1: the unit's registers; 2: the two bridge registers
    std::uint32_t address = 0; ///< the unit's register address
    std::uint32_t value = 0;   ///< content, 16 bits in the low half; 0 in a read request
};
static_assert(sizeof(RegisterAccess) == 12, "the record is three words without padding");

/// Client of the data server, the process that owns the capture unit.
///
/// Order of use: `createDataClient`, `connect`, any number of `read` and `write`; `openChannel`, `start`, then any
/// mix of `status`, `request`, `peek`, `cancel` and `flush`; `stop`, `closeChannel`; `disconnect`;
/// `destroyDataClient`.
///
/// **Blocking.** Each operation is one request and its reply. There is no time limit: a caller waits for as long as
/// the connection to the server lives.
///
/// **Threads.** Operations may be called from any thread; whole requests exclude each other. Creation and
/// destruction are the owner's business and must not overlap with any operation.
///
/// **Delivery.** The server never speaks unasked. Recorded data, errors and status arrive in front of the reply to
/// some request, so `Callback` is called on the thread that made that request, inside it and with the client's lock
/// held.
///
/// **Errors.** Every failure is a plain `std::runtime_error` whose text is final, among them "disconnected from
/// server", "failed to write to server", "internal rsp error" and the server's own text. After any failure of a
/// reply the client does not resynchronise: it is good for destruction only.
class DataClient {
public:
    /// Named by the interface for clients that have failures of their own. The data server's client never throws it;
    /// whoever wants its failures catches `std::runtime_error` or wider.
    class Exception : public std::runtime_error {
    public:
        using std::runtime_error::runtime_error;
    };

    /// What flows back from the server while a channel is open. Implemented and owned by the caller of `openChannel`;
    /// it has to outlive the channel.
    ///
    /// Pointers given to it are valid until the next record of the same kind at most: they point into buffers that
    /// the client uses again. An implementation must not make a request of the same client from inside a callback:
    /// the lock would let it, but it would overwrite the request under way. An exception that leaves a callback
    /// leaves the request, too, with the reply half read.
    class Callback {
    public:
        virtual ~Callback() = default;
        /// Recorded bytes. @param data `size` bytes, never null unless `size` is 0.
        virtual void onData(const void* data, std::uint32_t size) = 0;
        /// A failure that the server reports. Both texts are NUL-terminated and may be empty.
        virtual void onError(std::uint32_t code, const char* first, const char* second) = 0;
        /// The channel's state on the server; 0 means that it went idle.
        virtual void onStatus(std::uint32_t value) = 0;
    };

    /// One recording stream. Owned by the client; valid from `openChannel` to `closeChannel` and never deleted by
    /// the caller. Errors, blocking and threads are those of `DataClient`.
    class Channel {
    public:
        virtual ~Channel() = default;
        virtual void start() = 0;
        /// @param ready sent to the server and overwritten with its answer: the bytes ready for upload.
        virtual void status(std::uint32_t* ready) = 0;
        /// Looks at recorded data without taking it. @param data receives the bytes: the server decides how many, so
        /// the storage has to hold whatever it answers. @param size sent, and overwritten with the answer's size.
        virtual void peek(std::uint32_t first, std::uint32_t second, void* data, std::uint32_t* size) = 0;
        virtual void stop() = 0;
        /// Asks for `count` bytes of recorded data. They arrive through `Callback::onData`, in pieces of the server's
        /// choice, before this returns or inside later requests.
        virtual void request(std::uint32_t count) = 0;
        virtual void cancel() = 0;
        virtual void flush() = 0;
    };

    virtual ~DataClient() = default;

    /// Connects the server to the capture unit. @param url NUL-terminated name of the unit, not null.
    virtual void connect(const char* url) = 0;
    /// Releases the capture unit; the server itself goes on.
    virtual void disconnect() = 0;
    /// Reads registers in the order of the list. @param list `count` records, whose values are filled in.
    virtual void read(RegisterAccess* list, std::uint32_t count) = 0;
    /// Writes registers in the order of the list.
    virtual void write(const RegisterAccess* list, std::uint32_t count) = 0;
    /// Opens the one recording stream. @param bufferSize bytes of the unit's buffer to use. @param mode 0: stop when
    /// it is full; 1: go on over the oldest. @param callback not null, not owned, in use until `closeChannel`.
    /// A second call without `closeChannel` throws "internal channel open error", also when the first one failed on
    /// the wire. @return the stream, owned by this client.
    virtual Channel* openChannel(std::uint32_t bufferSize, std::uint32_t mode, Callback* callback) = 0;
    /// Closes the recording stream; nothing happens when none is open. A failure leaves it open.
    /// @param channel what `openChannel` gave; since there is only one, it is not looked at.
    virtual void closeChannel(Channel* channel) = 0;
};

/// Starts a data server process, connects to it and checks its version.
///
/// The server listens at `port` or, where no process could be started for that, at one of the seven ports after it.
/// Blocks for 100 ms at least and up to 40 s when no server can be started. The working directory may be changed
/// for that time and is restored; no other thread should rely on it meanwhile.
/// @return the client, owned by the caller and given back to `destroyDataClient`; null on any failure, in which case
/// no server process is left running.
DataClient* createDataClient(std::uint32_t port);

/// Ends the talk with the server, terminates its process and frees the client. Throws nothing. @param client may be
/// null.
void destroyDataClient(DataClient* client);

} // namespace VX_QRS::ORV
