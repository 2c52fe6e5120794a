#pragma once

#include "link/IGdbIo.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>

/// Script of a link in memory. A step that the client does not reach or does not follow fails the test.
class LinkScript {
public:
    /// The next bytes that the client sends.
    LinkScript& expect(std::string sent);
    /// Bytes for the client to read, at most `piece` of them per read. Bytes not read when the next ones are sent are
    /// still read after them.
    LinkScript& give(std::string raw, std::size_t piece = 0x7FFFFFFF);
    /// A number of waits of the client time out.
    LinkScript& quiet(int waits);
    /// From here on reads and writes fail as after a disconnection.
    LinkScript& hangUp();
    /// The next wait, read or write has this result.
    LinkScript& waitGives(std::uint32_t result);
    LinkScript& readGives(std::uint32_t result);
    LinkScript& writeGives(std::uint32_t result);

    /// Checks that all steps were used and followed. Called at the end of each test.
    void verify();

    bool saidGoodbye = false;   ///< `$D#00` arrived after the end of the script
    bool closed = false;        ///< the client closed the link
    std::uint32_t lastRead = 0; ///< limit of its last read, in bytes
    std::string reason;         ///< the link's last error
    std::int32_t lastWait = 0;  ///< limit of the client's last wait, in milliseconds

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
