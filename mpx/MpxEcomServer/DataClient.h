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
/// **Blocking.** Each operation is one request and its reply. There is no time limit: a caller waits as long as the
/// connection to the server exists.
///
/// **Threads.** Operations may be called from any thread; requests are serialised. Creation and destruction are up to
/// the owner and must not overlap with any operation.
///
/// **Delivery.** The server sends only in reply to requests. Recorded data, errors and status arrive before the reply
/// to some request, so `Callback` is called on the thread of that request, inside it and with the client's lock held.
///
/// **Errors.** Every failure is a plain `std::runtime_error` whose text is final, among them "disconnected from
/// server", "failed to write to server", "internal rsp error" and the server's own text. After any failure of a reply
/// the client does not resynchronise: it can only be destroyed.
class DataClient {
public:
    /// Part of the interface for clients that have failures of their own. The data server's client never throws it;
    /// catch `std::runtime_error` or a base of it.
    class Exception : public std::runtime_error {
    public:
        using std::runtime_error::runtime_error;
    };

    /// Receives records from the server while a channel is open. Implemented and owned by the caller of `openChannel`;
    /// it has to outlive the channel.
    ///
    /// Pointers passed to it are valid at most until the next record of the same kind: they point into buffers that the
    /// client reuses. An implementation must not make a request of the same client from inside a callback: the lock
    /// permits it, but it would overwrite the current request. An exception from a callback leaves the request, too,
    /// with the reply half read.
    class Callback {
    public:
        virtual ~Callback() = default;
        /// Recorded bytes. @param data `size` bytes, not null unless `size` is 0.
        virtual void onData(const void* data, std::uint32_t size) = 0;
        /// A failure that the server reports. Both texts are NUL-terminated and may be empty.
        virtual void onError(std::uint32_t code, const char* first, const char* second) = 0;
        /// The channel's state on the server; 0 means idle.
        virtual void onStatus(std::uint32_t value) = 0;
    };

    /// One recording stream. Owned by the client; valid from `openChannel` to `closeChannel` and never deleted by
    /// the caller. Errors, blocking and threads are those of `DataClient`.
    class Channel {
    public:
        virtual ~Channel() = default;
        virtual void start() = 0;
        /// @param ready sent to the server and replaced by its answer: the number of bytes ready for upload.
        virtual void status(std::uint32_t* ready) = 0;
        /// Reads recorded data without removing it. @param data receives the bytes: the server decides how many, so the
        /// storage has to be large enough for any answer. @param size sent, and replaced by the answer's size.
        virtual void peek(std::uint32_t first, std::uint32_t second, void* data, std::uint32_t* size) = 0;
        virtual void stop() = 0;
        /// Requests `count` bytes of recorded data. They arrive through `Callback::onData`, in pieces of the server's
        /// choice, before this returns or inside later requests.
        virtual void request(std::uint32_t count) = 0;
        virtual void cancel() = 0;
        virtual void flush() = 0;
    };

    virtual ~DataClient() = default;

    /// Connects the server to the capture unit. @param url NUL-terminated name of the unit, not null.
    virtual void connect(const char* url) = 0;
    /// Releases the capture unit; the server continues.
    virtual void disconnect() = 0;
    /// Reads registers in the order of the list. @param list `count` records, whose values are filled in.
    virtual void read(RegisterAccess* list, std::uint32_t count) = 0;
    /// Writes registers in the order of the list.
    virtual void write(const RegisterAccess* list, std::uint32_t count) = 0;
    /// Opens the one recording stream. @param bufferSize bytes of the unit's buffer to use. @param mode 0: stop when it
    /// is full; 1: overwrite the oldest data. @param callback not null, not owned, in use until `closeChannel`. A
    /// second call without `closeChannel` throws "internal channel open error", even if the first call failed during
    /// its request. @return the stream, owned by this client.
    virtual Channel* openChannel(std::uint32_t bufferSize, std::uint32_t mode, Callback* callback) = 0;
    /// Closes the recording stream, if one is open. A failure leaves it open. @param channel the result of
    /// `openChannel`; ignored, since there is only one.
    virtual void closeChannel(Channel* channel) = 0;
};

/// Starts a data server process, connects to it and checks its version.
///
/// The server listens at `port` or, when no process could be started for that, at one of the seven ports after it.
/// Blocks for at least 100 ms and up to 40 s when no server can be started. The working directory may change during the
/// call and is restored; no other thread should depend on it meanwhile. @return the client, owned by the caller until
/// `destroyDataClient`; null on any failure, with no server process left running.
DataClient* createDataClient(std::uint32_t port);

/// Ends the session with the server, terminates its process and frees the client. Throws nothing. @param client may be
/// null.
void destroyDataClient(DataClient* client);

} // namespace VX_QRS::ORV
