#pragma once

#include "link/IGdbIo.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>

/// What a link in memory does, step by step. A step that the client does not get to, or one that it does not keep to,
/// is a failure of the test.
class LinkScript {
public:
    /// The next bytes that the client sends.
    LinkScript& expect(std::string sent);
    /// Bytes for the client to read, at most `piece` of them per read. What was not read when the next bytes are
    /// sent is still read after them.
    LinkScript& give(std::string raw, std::size_t piece = 0x7FFFFFFF);
    /// So many waits of the client end without anything to read.
    LinkScript& quiet(int waits);
    /// Reads and writes fail from here on as they do when the peer is gone.
    LinkScript& hangUp();
    /// The next wait, read or write gives this result.
    LinkScript& waitGives(std::uint32_t result);
    LinkScript& readGives(std::uint32_t result);
    LinkScript& writeGives(std::uint32_t result);

    /// All steps were used and kept to. Called at the end of each test.
    void verify();

    bool saidGoodbye = false;   ///< `$D#00` came where the script had ended
    bool closed = false;        ///< the client closed the link
    std::uint32_t lastRead = 0; ///< bytes that its last read was to bring at most
    std::string reason;         ///< what the link reports as its last error
    std::int32_t lastWait = 0;  ///< milliseconds that the client's last wait was to take at most

private:
    friend class ScriptedLink;
    enum class Kind { Expect, Give, Quiet, HangUp, Wait, Read, Write };
    struct Step {
        Kind kind;
        std::string bytes;
        std::size_t piece = 0;
        int waits = 0;
        std::uint32_t result = 0;
    };
    LinkScript& add(Step step);
    bool at(Kind kind) const { return !steps.empty() && steps.front().kind == kind; }

    std::deque<Step> steps;
    std::string deviation;
    std::string unexpected;
};

/// A connected link without a peer.
class ScriptedLink : public MPX_GDB_AGENT::IGdbIo {
public:
    explicit ScriptedLink(std::shared_ptr<LinkScript> steps) : script(std::move(steps)) {}

    std::uint32_t listenOn() override;
    std::uint32_t stopListening() override;
    std::uint32_t acceptClient(std::int32_t waitMs) override;
    const char* peerName() override;
    void closeClient() override;
    std::uint32_t receive(void* buffer, std::uint32_t size, std::uint32_t& count) override;
    std::uint32_t waitReadable(std::int32_t waitMs) override;
    std::uint32_t send(const void* buffer, std::uint32_t size, std::uint32_t& count) override;
    std::uint32_t waitWritable(std::int32_t waitMs) override;
    std::uint32_t connectTo(const char* host) override;
    std::uint32_t port() const override;
    const char* lastError() const override { return script->reason.c_str(); }

private:
    std::shared_ptr<LinkScript> script;
    bool lost = false;
};
