#pragma once

#include "common/source/source_utilities/uSocket.h"
#include "mpx/MpxEcomServer/ServerStart.h"
#include "tests/support/scripted_server/Frames.h"
#include "tests/unit/mpx/TalkPeer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

/// Simulated processes whose server is a thread of the test: it accepts all connections and answers the requests `v`
/// and `s`. Set it up, then begin().
class FakeServer : public VX_QRS::ORV::ProcessAccess {
public:
    bool answers = true;
    bool drips = false; ///< continuously sends bytes that are no reply
    std::uint32_t version = 1;
    std::uint32_t answerAfterMs = 0;
    std::uint32_t startedId = 4711; ///< id that a start returns
    std::atomic<int> running{0};
    std::atomic<bool> ended{false};

    ~FakeServer() override {
        done = true;
        if (thread.joinable()) {
            thread.join();
        }
    }

    void begin() {
        ASSERT_EQ(listener.listen(0), VX_QRS::uSocket::done);
        thread = std::thread([this] { serve(); });
    }
    std::uint32_t port() const { return listener.localPort(); }

    // Starting and finding allocate, as the platform's own functions do.
    std::uint32_t start(const char* image, const char* arguments) override {
        const std::string commandLine = std::string(image) + " with a long path " + arguments;
        running += startedId != 0 && !commandLine.empty() ? 1 : 0;
        return startedId;
    }
    std::uint32_t find(const char* image, std::uint32_t id) override {
        const std::string name = std::string("the folder of the program/") + image;
        return name.empty() ? 0 : id;
    }
    bool hasEnded(std::uint32_t id) noexcept override { return id == 0 || ended; }
    void terminate(std::uint32_t id) noexcept override { running -= id == startedId ? 1 : 100; }
    void sleep(std::uint32_t) override {}

private:
    void serve() {
        std::vector<std::unique_ptr<TalkPeer>> peers;
        while (!done) {
            if (listener.waitReadable(1)) {
                peers.push_back(std::make_unique<TalkPeer>(listener.accept()));
            }
            for (const auto& peer : peers) {
                talk(*peer);
            }
        }
    }

    void talk(TalkPeer& peer) {
        if (drips) {
            peer.write("x");
        }
        if (peer.isSilent()) {
            return;
        }
        const std::string request = peer.read(5);
        VX_QRS::uThread::sleep(answerAfterMs);
        if (answers && request == "$v#00") {
            peer.write(frames::reply(frames::word(version)));
        } else if (answers && request == "$s#00") {
            peer.write(frames::reply());
        }
    }

    VX_QRS::uSocket listener;
    std::atomic<bool> done{false};
    std::thread thread;
};
