#pragma once

#include "common/source/source_utilities/SourceLocation.h"
#include "common/source/source_utilities/uMutex.h"
#include "common/source/source_utilities/uSocket.h"
#include "common/source/source_utilities/uTimer.h"
#include "link/IGdbIo.h"
#include "link/PacketBuffer.h"
#include "mpx/MpxEcomServer/DataClient.h"
#include "mpx/MpxEcomServer/Scratch.h"
#include "mpx/MpxEcomServer/ServerStart.h"

#include <memory>
#include <sstream>

namespace VX_QRS::ORV {

/// The client of one data server process, which it starts, owns and ends. It implements the single recording stream
/// itself.
///
/// Contract, threads, blocking and errors are those of `DataClient`. The server process is never shared: it lives
/// from construction to destruction.
class OrvEcomProxy : public DataClient, public DataClient::Channel, private uTimer::Callable {
public:
    static constexpr std::uint32_t defaultChunkSize = 0x10000;

    /// Starts the server, connects and checks its version. Throws `std::runtime_error` with no server left running.
    /// @param chunkSize limit of one read from the socket, in bytes.
    OrvEcomProxy(std::uint32_t port, std::uint32_t chunkSize);
    /// The same with the caller's process operations, which have to outlive this object.
    OrvEcomProxy(ProcessAccess& access, std::uint32_t port, std::uint32_t chunkSize);
    /// Uses a connected link to a server that the caller owns, and checks its version. @param access only its `sleep`
    /// is used.
    OrvEcomProxy(std::unique_ptr<MPX_GDB_AGENT::IGdbIo> connected, std::uint32_t chunkSize,
                 ProcessAccess& access = platformProcesses());
    /// Sends the end request, closes the link and terminates the process. Blocks for up to a second.
    ~OrvEcomProxy() override;
    OrvEcomProxy(const OrvEcomProxy&) = delete;
    OrvEcomProxy& operator=(const OrvEcomProxy&) = delete;

    void connect(const char* url) override;
    void disconnect() override;
    void read(RegisterAccess* list, std::uint32_t count) override;
    void write(const RegisterAccess* list, std::uint32_t count) override;
    DataClient::Channel* openChannel(std::uint32_t bufferSize, std::uint32_t mode, Callback* receiver) override;
    void closeChannel(DataClient::Channel* channel) override;

    void start() override;
    void status(std::uint32_t* ready) override;
    void peek(std::uint32_t first, std::uint32_t second, void* data, std::uint32_t* size) override;
    void stop() override;
    void request(std::uint32_t count) override;
    void cancel() override;
    void flush() override;

    /// Requests callback records only; failures are ignored. The timer's callback.
    void pollServer();

private:
    void call() override;

    // OrvEcomProxy.cpp: life cycle.
    void begin(std::uint32_t firstPort);
    void connectServer();
    void beginTalk();
    void startTimer();
    void terminateServer() noexcept;
    void closeLink() noexcept;

    // OrvEcomProxyRequests.cpp: requests. The mutex is held, or no other thread knows this object.
    template <class Arguments, class Payload>
    void exchange(char command, Arguments&& arguments, Payload&& payload);
    template <class Arguments, class Payload>
    void transact(char command, Arguments&& arguments, Payload&& payload);
    void transactPlain(const char* function, char command, const SourceLocation& where = SourceLocation::current());
    std::uint32_t queryVersion();
    void beginRequest(char command);
    void endRequest();
    void appendWord(std::uint32_t value);
    void appendBytes(const void* bytes, std::uint32_t count);
    void appendAccess(const RegisterAccess& access);
    void appendPointerStorage(const void* pointer, std::uint32_t count);
    void sendRequest();
    [[noreturn]] void fail(const char* line, const char* text, const char* reason);

    // OrvEcomProxyReplies.cpp: replies.
    void awaitReply();
    void waitForMemory(bool& reported);
    bool serverHasEnded() const;
    void dropLateChecksum();
    void parseReplyHead();
    void takeServerText();
    void parseRecord();
    bool parseDataRecord();
    bool parseErrorRecord();
    bool parseStatusRecord();
    bool takeText(Scratch& scratch);
    bool takeWord(std::uint32_t& value);
    bool takeBytes(void* to, std::uint32_t count);
    bool takeAccess(RegisterAccess& access);
    void expect(bool decoded);
    void finishReply();
    void clearNotes();
    void note(const char* text);
    void throwNoted() const;

    ProcessAccess& processes;
    std::uint32_t serverPort = 0;
    std::unique_ptr<MPX_GDB_AGENT::IGdbIo> link;
    MPX_GDB_AGENT::PacketBuffer sendBuffer;
    MPX_GDB_AGENT::PacketBuffer receiveBuffer;
    std::uint32_t serverPid = 0;  // 0: no process is held
    uSocket spareSocket;          // the second connection: open for the object's life, never read or written
    Callback* callback = nullptr; // null while no channel is open
    std::ostringstream errorText; // failures of the current reply; guarded by the mutex, as are the buffers
    Scratch firstScratch;         // data, and first texts
    Scratch secondScratch;        // second texts
    std::uint32_t chunkSize;
    uTimer timer;
    uMutex mutex;
    // Checksum characters that had not arrived when the last reply ended.
    std::uint32_t lateChecksum = 0;
    // Whether the end of the server's process ends the wait for a reply. True until the version is known: until then
    // the port may belong to another program or to another run's server, which the end of this process does not
    // disconnect.
    bool watchesServer = false;
};

} // namespace VX_QRS::ORV
