#pragma once

#include "mpx/MpxEcomServer/DataClient.h"

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace register_model {

/// What a data client can be asked.
enum class Call {
    Connect,
    Disconnect,
    Read,
    Write,
    OpenChannel,
    CloseChannel,
    Start,
    Status,
    Peek,
    Stop,
    Request,
    Cancel,
    Flush,
};

/// The capture unit and its server in the same process: a register map, oversample FIFOs and one recording stream
/// of a `DataClient`. Every request is recorded, in order and as text; what is read can be scripted.
///
/// Accesses to registers that the unit does not have, and writes to those that can only be read, throw
/// std::runtime_error and are counted in `refusals`.
///
/// Requests exclude each other, as those of the real client do, and callbacks run inside the request that they
/// precede. Everything may be called from any thread. Scripting is meant for the time before the calls.
class RegisterModel final : public VX_QRS::ORV::DataClient, public VX_QRS::ORV::DataClient::Channel {
public:
    using RegisterAccess = VX_QRS::ORV::RegisterAccess;
    using Callback = VX_QRS::ORV::DataClient::Callback;

    /// Fills the clock registers with 50 MHz, 21 and 3, makes comms idle, and lets each oversample FIFO fill with zeros.
    RegisterModel();

    // ---- what was asked ----

    /// One line per request: "connect <url>", "read 0800811e 08008060", "write 0800811e=7fff", "open <size> <mode>",
    /// "close", "start", "status", "stop", "request <bytes>", "cancel", "flush", "disconnect". Registers of kind 2
    /// have the prefix "2:". A line of `note` is logged unchanged.
    std::vector<std::string> log() const;
    void clearLog();
    /// Puts a line of the test's own between the requests.
    void note(const std::string& line);
    /// How many requests of a kind were made since the start or the last clearLog.
    unsigned count(Call call) const;
    /// Every value that was written to a register since the start or the last clearLog, in order.
    std::vector<std::uint32_t> written(std::uint32_t address) const;
    /// Accesses that were refused, as lines like "write 08000000".
    std::vector<std::string> refusals() const;
    bool isOpen() const;

    // ---- registers ----

    void set(std::uint32_t address, std::uint32_t value, std::uint32_t kind = 1);
    std::uint32_t get(std::uint32_t address, std::uint32_t kind = 1) const;
    /// The next reads of a register give these values, one each; then the stored one again.
    void scriptReads(std::uint32_t address, std::vector<std::uint32_t> values, std::uint32_t kind = 1);
    /// Every read of a register (that no script is left for) gives what the function says.
    void onRead(std::uint32_t address, std::function<std::uint32_t()> value);
    /// Called after every write to a register, with the value.
    void onWrite(std::uint32_t address, std::function<void(std::uint32_t)> hook);

    // ---- oversample FIFOs ----

    /// What each trigger fills a proc's FIFO with. `filled` and the level are what its status then says.
    void setBurst(std::uint32_t proc, std::vector<std::uint16_t> words, bool filled = true);
    /// Computes the burst of every trigger anew, from the registers as they then are.
    void onTrigger(std::function<void(RegisterModel&)> hook);
    /// Words that lie in a FIFO before anything is triggered.
    void setFifo(std::uint32_t proc, std::vector<std::uint16_t> words);

    // ---- the stream ----

    /// What the unit has recorded: `status` says so many bytes, `request` delivers from it.
    void setRecorded(std::vector<std::uint8_t> bytes);
    /// The next status requests answer these values; then what is recorded and not yet delivered.
    void scriptStatus(std::vector<std::uint32_t> values);
    /// Cuts what a request delivers into records of at most so many bytes.
    void setPieceSize(std::uint32_t bytes);
    /// Delivers records before the reply to the `skip`+1st next request of that kind.
    void deliverBefore(Call call, std::function<void(Callback&)> record, unsigned skip = 0);

    // ---- failures and interposition ----

    /// The `skip`+1st next request of that kind throws std::runtime_error of that text.
    void failNext(Call call, const std::string& text, unsigned skip = 0);
    /// The same with any action; it runs with the model's lock held, before the request has an effect.
    void onNext(Call call, std::function<void()> action, unsigned skip = 0);

    // ---- DataClient ----

    void connect(const char* url) override;
    void disconnect() override;
    void read(RegisterAccess* list, std::uint32_t count) override;
    void write(const RegisterAccess* list, std::uint32_t count) override;
    VX_QRS::ORV::DataClient::Channel* openChannel(std::uint32_t bufferSize, std::uint32_t mode,
                                                  Callback* callback) override;
    void closeChannel(VX_QRS::ORV::DataClient::Channel* channel) override;

    // ---- DataClient::Channel ----

    void start() override;
    void status(std::uint32_t* ready) override;
    void peek(std::uint32_t first, std::uint32_t second, void* data, std::uint32_t* size) override;
    void stop() override;
    void request(std::uint32_t count) override;
    void cancel() override;
    void flush() override;

private:
    using Register = std::pair<std::uint32_t, std::uint32_t>; // kind, address
    using Guard = std::lock_guard<std::recursive_mutex>;

    struct Fifo {
        std::vector<std::uint16_t> burst = std::vector<std::uint16_t>(512, 0);
        std::deque<std::uint16_t> words;
        bool burstFills = true;
        bool filled = false;
    };
    struct Event {
        unsigned skip = 0;
        std::function<void()> action;
    };

    void enter(Call call, const std::string& line);
    void refuse(const char* what, const RegisterAccess& access);
    std::uint32_t readOne(const RegisterAccess& access);
    void writeOne(const RegisterAccess& access);
    void deliver(std::uint32_t count);

    mutable std::recursive_mutex mutex;
    std::vector<std::string> lines;
    std::map<Call, unsigned> counts;
    std::map<std::uint32_t, std::vector<std::uint32_t>> writes;
    std::vector<std::string> refused;

    std::map<Register, std::uint32_t> values;
    std::map<Register, std::deque<std::uint32_t>> readScripts;
    std::map<std::uint32_t, std::function<std::uint32_t()>> readHooks;
    std::map<std::uint32_t, std::function<void(std::uint32_t)>> writeHooks;
    std::array<Fifo, 8> fifos;
    std::function<void(RegisterModel&)> triggerHook;

    Callback* callback = nullptr;
    std::deque<std::uint8_t> recorded;
    std::deque<std::uint32_t> statusScript;
    std::uint32_t pieceSize = 65536;
    std::map<Call, std::deque<Event>> events;
};

} // namespace register_model
