#include "tests/simulation/scenarios/doubles/RequestPoints.h"

#include "tests/simulation/faults/Faults.h"
#include "tests/simulation/faults/Quiet.h"
#include "tests/simulation/scheduler/Scheduler.h"

#include <stdexcept>

namespace simulation {

namespace {

/// Holds the lock for a request.
class Exclusive {
public:
    explicit Exclusive(SimulatedLock& held) : lock(held) { lock.enter(); }
    Exclusive(const Exclusive&) = delete;
    Exclusive& operator=(const Exclusive&) = delete;
    ~Exclusive() { lock.leave(); }

private:
    SimulatedLock& lock;
};

} // namespace

template <class Work>
void RequestPoints::perform(const char* what, Work&& work) {
    const Exclusive exclusive(mutex);
    Scheduler::instance().point({Operation::request, what});
    if (Faults::instance().fails(Fault::request)) {
        throw std::runtime_error("disconnected from server");
    }
    const Quiet quiet;
    work();
}

void RequestPoints::connect(const char* url) {
    perform("connect", [&] { client.connect(url); });
}

void RequestPoints::disconnect() {
    perform("disconnect", [&] { client.disconnect(); });
}

void RequestPoints::read(VX_QRS::ORV::RegisterAccess* list, std::uint32_t count) {
    perform("read", [&] { client.read(list, count); });
}

void RequestPoints::write(const VX_QRS::ORV::RegisterAccess* list, std::uint32_t count) {
    perform("write", [&] { client.write(list, count); });
}

VX_QRS::ORV::DataClient::Channel* RequestPoints::openChannel(std::uint32_t bufferSize, std::uint32_t mode,
                                                             Callback* newCallback) {
    perform("open", [&] {
        stream = client.openChannel(bufferSize, mode, &callback);
        target = newCallback;
    });
    return this;
}

void RequestPoints::closeChannel(DataClient::Channel*) {
    perform("close", [&] {
        client.closeChannel(stream);
        target = nullptr;
    });
}

void RequestPoints::start() {
    perform("start", [&] {
        bytes.clear();
        stream->start();
    });
}

void RequestPoints::status(std::uint32_t* ready) {
    perform("status", [&] { stream->status(ready); });
}

void RequestPoints::peek(std::uint32_t first, std::uint32_t second, void* data, std::uint32_t* size) {
    perform("peek", [&] { stream->peek(first, second, data, size); });
}

void RequestPoints::stop() {
    perform("stop", [&] { stream->stop(); });
}

void RequestPoints::request(std::uint32_t count) {
    perform("request", [&] { stream->request(count); });
}

void RequestPoints::cancel() {
    perform("cancel", [&] { stream->cancel(); });
}

void RequestPoints::flush() {
    perform("flush", [&] { stream->flush(); });
}

void RequestPoints::ProductCallback::onData(const void* data, std::uint32_t size) {
    const auto* first = static_cast<const std::uint8_t*>(data);
    owner.bytes.insert(owner.bytes.end(), first, first + size);
    const ProductCall product;
    owner.target->onData(data, size);
}

void RequestPoints::ProductCallback::onError(std::uint32_t code, const char* first, const char* second) {
    const ProductCall product;
    owner.target->onError(code, first, second);
}

void RequestPoints::ProductCallback::onStatus(std::uint32_t value) {
    const ProductCall product;
    owner.target->onStatus(value);
}

} // namespace simulation
