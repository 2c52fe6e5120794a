#include "tests/simulation/scenarios/proxy/ProxyRig.h"

#include "tests/simulation/backend/Processes.h"
#include "tests/simulation/backend/SimulatedLock.h"
#include "tests/simulation/backend/Sockets.h"
#include "tests/simulation/faults/Faults.h"
#include "tests/simulation/faults/Quiet.h"
#include "tests/simulation/scenarios/Scenario.h"
#include "tests/simulation/scheduler/Scheduler.h"

#include <algorithm>
#include <array>
#include <exception>
#include <new>
#include <stdexcept>
#include <string_view>

namespace simulation {

using namespace VX_QRS::ORV;

namespace {

// Texts of the requests' failures; the last is the server's own.
constexpr std::array<std::string_view, 9> failureTexts{"disconnected from server",
                                                       "failed to write to server",
                                                       "internal channel open error",
                                                       "internal error allocating buffer",
                                                       "invalid rsp response",
                                                       "invalid rsp response data",
                                                       "invald rsp final response",
                                                       "invalid rsp callback responseinvalid rsp response",
                                                       "unit not ready"};

bool isKnown(std::string_view text) {
    return std::find(failureTexts.begin(), failureTexts.end(), text) != failureTexts.end();
}

} // namespace

ProxyRig::ProxyRig(const ServerPlan& plan) : record(std::make_shared<ServerRecord>()) {
    installProgram(serverImage,
                   [plan, what = record](const std::string& arguments) { runServer(plan, *what, arguments); });
}

ProxyRig::~ProxyRig() {
    destroy();
}

bool ProxyRig::create(bool mayFail) {
    const Time begin = Scheduler::instance().now();
    {
        const ProductCall product;
        object = createDataClient(port);
    }
    expect(locksHeld() == 0, "lock kept", "after the creation of a client");
    if (object == nullptr) {
        // A thread of the server that is held up for longer than a connection is tried for is no fault.
        constexpr Time connecting = 1000000;
        const bool isLate = Scheduler::instance().now() - begin >= connecting;
        expect(mayFail || isLate || Faults::instance().haveFailed(), "no client", "without a fault");
        judgeRest("after a failed creation");
    }
    return object != nullptr;
}

void ProxyRig::destroy() {
    if (object == nullptr) {
        return;
    }
    {
        const ProductCall product;
        destroyDataClient(object);
    }
    object = nullptr;
    judgeRest("after the client");
}

void ProxyRig::judgeRest(const char* when) const {
    expect(!isAlone || socketsLeftOpen() == 0, "socket left open", when);
    expect(!isAlone || runningChildren() == 0, "process left", when);
}

bool ProxyRig::attempt(const std::function<void()>& request) {
    bool succeeded = false;
    std::string text;
    try {
        const ProductCall product;
        request();
        succeeded = true;
    } catch (const std::runtime_error& e) {
        text = e.what();
        expect(expectsFailures || Faults::instance().haveFailed(), "failure without a fault", text);
        expect(isKnown(text), "unknown text", text);
    } catch (const std::bad_alloc&) {
        expect(Faults::instance().haveFailed(), "no memory", "without a fault");
    }
    anyFailed = anyFailed || !succeeded;
    expect(locksHeld() == 0, "lock kept", succeeded ? "after a request" : "after a failed request: " + text);
    return succeeded;
}

bool ProxyRig::open() {
    constexpr std::uint32_t bufferSize = 16384;
    return attempt([&] { channel = client().openChannel(bufferSize, 0, this); });
}

bool ProxyRig::useRegisters(std::uint32_t firstAddress) {
    const std::array<RegisterAccess, 2> written{{{1, firstAddress, firstAddress * 3}, {1, firstAddress + 1, '#'}}};
    std::array<RegisterAccess, 3> read{{{1, firstAddress, 0}, {1, firstAddress + 1, 0}, {1, firstAddress + 2, 0}}};
    const bool done = attempt([&] {
        client().write(written.data(), written.size());
        client().read(read.data(), read.size());
    });
    const bool isRight = read[0].value == written[0].value && read[1].value == written[1].value &&
                         read[2].value == registerContent(firstAddress + 2);
    expect(!done || isRight, "wrong registers", "at address " + std::to_string(firstAddress));
    return done;
}

bool ProxyRig::requestData(std::uint32_t count) {
    return attempt([&] { stream().request(count); });
}

void ProxyRig::judgeData() {
    const bool flushed = attempt([&] { stream().flush(); });
    if (flushed && !anyFailed) {
        expect(delivered == record->requested && delivered == record->sent, "lost data",
               std::to_string(delivered) + " bytes delivered, " + std::to_string(record->sent) + " sent, " +
                   std::to_string(record->requested) + " requested");
    }
    expect(delivered <= record->sent, "invented data", std::to_string(delivered) + " bytes");
}

// A callback runs inside a request, with the client's lock held: no two at a time.
void ProxyRig::begin() {
    expect(!isInside, "two callbacks", "at a time");
    isInside = true;
    Scheduler::instance().point({Operation::request, "callback"});
    isInside = false;
}

void ProxyRig::onData(const void* data, std::uint32_t size) {
    const Quiet quiet;
    begin();
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    for (std::uint32_t i = 0; i < size; ++i) {
        if (bytes[i] != recordedByte(delivered + i)) {
            Scheduler::instance().report("wrong data", "at byte " + std::to_string(delivered + i));
            break;
        }
    }
    delivered += size;
    if (inCallback) {
        inCallback();
    }
}

void ProxyRig::onError(std::uint32_t, const char*, const char*) {
    const Quiet quiet;
    begin();
}

void ProxyRig::onStatus(std::uint32_t value) {
    const Quiet quiet;
    begin();
    expect(value == 0, "wrong status", std::to_string(value));
}

} // namespace simulation
