#include "tests/support/scripted_server/ScriptedLink.h"

#include "tests/support/scripted_server/Frames.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

using namespace MPX_GDB_AGENT;

LinkScript& LinkScript::add(Step step) {
    steps.push_back(std::move(step));
    return *this;
}

LinkScript& LinkScript::expect(std::string sent) {
    return add({Kind::Expect, std::move(sent)});
}

LinkScript& LinkScript::give(std::string raw, std::size_t piece) {
    return add({Kind::Give, std::move(raw), piece});
}

LinkScript& LinkScript::quiet(int waits) {
    return add({Kind::Quiet, {}, 0, waits});
}

LinkScript& LinkScript::hangUp() {
    return add({Kind::HangUp, {}});
}

LinkScript& LinkScript::waitGives(std::uint32_t result) {
    return add({Kind::Wait, {}, 0, 0, result});
}

LinkScript& LinkScript::readGives(std::uint32_t result) {
    return add({Kind::Read, {}, 0, 0, result});
}

LinkScript& LinkScript::writeGives(std::uint32_t result) {
    return add({Kind::Write, {}, 0, 0, result});
}

void LinkScript::verify() {
    EXPECT_EQ(deviation, "");
    EXPECT_EQ(frames::toHex(unexpected), "") << "sent beyond the script";
    // A client need not wait for the two characters after the last end mark.
    if (steps.size() == 1 && at(Kind::Give) && steps.front().bytes == "00") {
        steps.clear();
    }
    EXPECT_TRUE(steps.empty()) << steps.size() << " steps were not used; the next bytes are "
                               << frames::toHex(steps.front().bytes);
}

std::uint32_t ScriptedLink::send(const void* buffer, std::uint32_t size, std::uint32_t& count) {
    count = 0;
    if (lost) {
        return IoNotConnected;
    }
    const std::string sent(static_cast<const char*>(buffer), size);
    if (script->at(LinkScript::Kind::Write)) {
        const std::uint32_t result = script->steps.front().result;
        script->steps.pop_front();
        return result;
    }
    if (script->at(LinkScript::Kind::HangUp)) {
        script->steps.pop_front();
        lost = true;
        return IoDisconnected;
    }
    // A read that the client did not need leaves its step in the script: check the step after it.
    const auto expected = std::find_if(script->steps.begin(), script->steps.end(), [](const LinkScript::Step& step) {
        return step.kind == LinkScript::Kind::Expect;
    });
    count = size;
    if (expected == script->steps.end()) {
        if (sent == "$D#00" && !script->saidGoodbye) {
            script->saidGoodbye = true;
        } else {
            script->unexpected += sent;
        }
        return IoOk;
    }
    std::string& wanted = expected->bytes;
    // Accepts a part only, as a socket may.
    const std::size_t part = wanted.size() == 1 ? 1 : std::min(sent.size(), (wanted.size() + 1) / 2);
    count = static_cast<std::uint32_t>(part);
    if (sent.substr(0, part) != wanted.substr(0, part) && script->deviation.empty()) {
        script->deviation = "sent " + frames::toHex(sent) + " in place of " + frames::toHex(wanted);
    }
    wanted.erase(0, part);
    if (wanted.empty()) {
        script->steps.erase(expected);
    }
    return IoOk;
}

std::uint32_t ScriptedLink::waitReadable(std::int32_t waitMs) {
    script->lastWait = waitMs;
    if (lost) {
        return IoNotConnected;
    }
    if (script->at(LinkScript::Kind::Wait)) {
        const std::uint32_t result = script->steps.front().result;
        script->steps.pop_front();
        return result;
    }
    if (script->at(LinkScript::Kind::Quiet)) {
        if (--script->steps.front().waits == 0) {
            script->steps.pop_front();
        }
        return IoTimeout;
    }
    if (script->steps.empty() || script->at(LinkScript::Kind::Expect)) {
        // The wait would never end; end it with a failure of the test.
        if (script->deviation.empty()) {
            script->deviation = "waits for bytes where the script has none";
        }
        lost = true;
        return IoNotConnected;
    }
    return IoOk;
}

std::uint32_t ScriptedLink::receive(void* buffer, std::uint32_t size, std::uint32_t& count) {
    count = 0;
    script->lastRead = size;
    if (lost) {
        return IoNotConnected;
    }
    if (script->at(LinkScript::Kind::Read)) {
        const std::uint32_t result = script->steps.front().result;
        script->steps.pop_front();
        return result;
    }
    if (!script->at(LinkScript::Kind::Give)) {
        if (script->at(LinkScript::Kind::HangUp)) {
            script->steps.pop_front();
        }
        lost = true;
        return IoDisconnected;
    }
    LinkScript::Step& step = script->steps.front();
    const std::size_t part = std::min({step.bytes.size(), step.piece, std::size_t{size}});
    std::memcpy(buffer, step.bytes.data(), part);
    step.bytes.erase(0, part);
    if (step.bytes.empty()) {
        script->steps.pop_front();
    }
    count = static_cast<std::uint32_t>(part);
    return IoOk;
}

void ScriptedLink::closeClient() {
    lost = true;
    script->closed = true;
}

std::uint32_t ScriptedLink::waitWritable(std::int32_t) {
    return lost ? IoNotConnected : IoOk;
}

std::uint32_t ScriptedLink::listenOn() {
    return IoListenFailed;
}

std::uint32_t ScriptedLink::stopListening() {
    return IoOk;
}

std::uint32_t ScriptedLink::acceptClient(std::int32_t) {
    return IoOk;
}

const char* ScriptedLink::peerName() {
    return "";
}

std::uint32_t ScriptedLink::connectTo(const char*) {
    return IoOk;
}

std::uint32_t ScriptedLink::port() const {
    return 0;
}
