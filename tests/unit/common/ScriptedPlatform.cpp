#include "tests/unit/common/ScriptedPlatform.h"

#include "common/source/source_utilities/DebugOutput.h"
#include "common/source/source_utilities/SharedOpen.h"
#include "common/source/source_utilities/uStopwatch.h"
#include "common/source/source_utilities/uThread.h"

#include <new>

namespace VX_QRS {

namespace test {

ScriptedPlatform& platform() {
    static ScriptedPlatform instance;
    return instance;
}

} // namespace test

using test::platform;

LocalTime readLocalTime() {
    return platform().time;
}

void debugOutput(const char* line) {
    platform().debugger.emplace_back(line);
}

std::FILE* sharedOpen(const char* path, const char* mode) {
    return std::fopen(path, mode);
}

bool uStopwatch::readFrequency(std::int64_t& ticksPerSecond) {
    ticksPerSecond = platform().frequency;
    return platform().hasCounter;
}

std::int64_t uStopwatch::readCounter() {
    ++platform().counterReadings;
    return platform().counter += platform().counterStep;
}

struct uThread::Native {};

uThread::uThread(uRunnable* body, std::int32_t threadPriority, std::uint32_t bytes)
    : runnable(body), native(std::make_unique<Native>()), priority(threadPriority), stackSize(bytes) {
    if (!platform().threadsAreThere) {
        throw std::bad_alloc();
    }
}
uThread::~uThread() = default;
bool uThread::start() {
    // Unused, since the runnable runs on the caller's thread; clang warns about unused members.
    static_cast<void>(priority);
    static_cast<void>(stackSize);
    if (!platform().threadsStart) {
        return false;
    }
    if (runnable != nullptr) {
        runnable->run();
    }
    return true;
}
bool uThread::wait(std::uint32_t) {
    return true;
}
bool uThread::isCurrent() const {
    return false;
}
std::uint32_t uThread::threadId() const {
    return 1;
}
void uThread::sleep(std::uint32_t milliseconds) {
    platform().sleeps.push_back(milliseconds);
}

namespace nativeSocket {

namespace {

void note(const std::string& call) {
    platform().socketCalls.push_back(call);
}

} // namespace

bool startLayer() {
    note("startLayer");
    return platform().layerStarts;
}
Handle create() {
    note("create");
    return 7;
}
bool setNoDelay(Handle) {
    note("setNoDelay");
    return platform().takesNoDelay;
}
bool connect(Handle, const char* address, std::uint16_t port) {
    note("connect " + std::string(address) + " " + std::to_string(port));
    return platform().connects;
}
bool bindToAnyAddress(Handle, std::uint16_t port) {
    note("bind " + std::to_string(port));
    return platform().binds;
}
bool listen(Handle, int backlog) {
    note("listen " + std::to_string(backlog));
    return platform().listens;
}
Handle accept(Handle, uSocket::Peer& peer) {
    note("accept");
    peer = {"10.0.0.9", 900};
    return platform().accepted;
}
std::uint16_t localPort(Handle) {
    note("localPort");
    return 100;
}
std::uint16_t remotePort(Handle) {
    note("remotePort");
    return 200;
}
std::int32_t receive(Handle, void*, std::int32_t size) {
    note("receive " + std::to_string(size));
    return platform().received;
}
std::int32_t send(Handle, const void*, std::int32_t size) {
    note("send " + std::to_string(size));
    return platform().sent;
}
void shutDownAndClose(Handle handle) {
    note("close " + std::to_string(handle));
}
bool waitReadable(Handle, int milliseconds) {
    note("wait " + std::to_string(milliseconds));
    return true;
}
int lastError() {
    return platform().error;
}

} // namespace nativeSocket

} // namespace VX_QRS
