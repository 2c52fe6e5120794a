#include "tests/simulation/scenarios/channel/UnitDouble.h"

#include "tests/simulation/faults/Faults.h"
#include "tests/simulation/faults/Quiet.h"
#include "tests/simulation/scheduler/Scheduler.h"

#include <algorithm>
#include <stdexcept>

namespace simulation {

namespace {

constexpr std::uint32_t requestUnit = 16384;
constexpr std::uint32_t pieceSize = 8192;

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

UnitDouble::UnitDouble() {
    registers[0x08000032] = 50000000U >> 16U;
    registers[0x08000030] = 50000000U & 0xFFFFU;
    registers[0x08000034] = 21U << 8U | 3U;
    constexpr std::uint32_t channels = 4;
    for (std::uint32_t channel = 0; channel < channels; ++channel) {
        registers[0x08008060 + 2 * channel] = 0x80;
    }
    constexpr std::uint32_t fifos = 8;
    for (std::uint32_t fifo = 0; fifo < fifos; ++fifo) {
        registers[0x0800820C + 8 * fifo] = 0x0200; // full
    }
}

void UnitDouble::begin(const char* what) {
    Scheduler::instance().point({Operation::request, what});
    if (Faults::instance().fails(Fault::request)) {
        throw std::runtime_error("disconnected from server");
    }
}

void UnitDouble::record(std::uint32_t bytes) {
    const Quiet quiet;
    for (std::uint32_t i = 0; i < bytes && recorded.size() < capacity; ++i) {
        recorded.push_back(static_cast<std::uint8_t>(recorded.size() * 7 + generation));
    }
}

void UnitDouble::connect(const char*) {
    const Exclusive exclusive(mutex);
    begin("connect");
}

void UnitDouble::disconnect() {
    const Exclusive exclusive(mutex);
    begin("disconnect");
}

void UnitDouble::read(VX_QRS::ORV::RegisterAccess* list, std::uint32_t count) {
    const Exclusive exclusive(mutex);
    begin("read");
    for (std::uint32_t i = 0; i < count; ++i) {
        const auto found = registers.find(list[i].address);
        list[i].value = found == registers.end() ? 0 : found->second;
    }
}

void UnitDouble::write(const VX_QRS::ORV::RegisterAccess*, std::uint32_t) {
    const Exclusive exclusive(mutex);
    begin("write");
}

VX_QRS::ORV::DataClient::Channel* UnitDouble::openChannel(std::uint32_t, std::uint32_t, Callback* newCallback) {
    const Exclusive exclusive(mutex);
    if (callback != nullptr) {
        throw std::runtime_error("internal channel open error");
    }
    callback = newCallback;
    begin("open");
    return this;
}

void UnitDouble::closeChannel(DataClient::Channel*) {
    const Exclusive exclusive(mutex);
    begin("close");
    callback = nullptr;
}

void UnitDouble::start() {
    const Exclusive exclusive(mutex);
    begin("start");
    recorded.clear();
    delivered = 0;
    ++generation;
    isRecording = true;
}

void UnitDouble::status(std::uint32_t* ready) {
    const Exclusive exclusive(mutex);
    begin("status");
    if (isRecording) {
        record(requestUnit / 2);
        if (tellsFull && recorded.size() == capacity && callback != nullptr) {
            isRecording = false;
            callback->onStatus(0);
        }
    }
    *ready = static_cast<std::uint32_t>(recorded.size()) - delivered;
}

void UnitDouble::peek(std::uint32_t, std::uint32_t, void*, std::uint32_t* size) {
    const Exclusive exclusive(mutex);
    begin("peek");
    *size = 0;
}

void UnitDouble::stop() {
    const Exclusive exclusive(mutex);
    begin("stop");
    isRecording = false;
    record((requestUnit - recorded.size() % requestUnit) % requestUnit);
}

void UnitDouble::request(std::uint32_t count) {
    const Exclusive exclusive(mutex);
    begin("request");
    for (std::uint32_t left = count; left > 0 && callback != nullptr;) {
        const std::uint32_t size = std::min({left, pieceSize, static_cast<std::uint32_t>(recorded.size()) - delivered});
        if (size == 0) {
            return;
        }
        const std::uint8_t* data = recorded.data() + delivered;
        delivered += size;
        left -= size;
        callback->onData(data, size);
    }
}

void UnitDouble::cancel() {
    const Exclusive exclusive(mutex);
    begin("cancel");
    delivered = static_cast<std::uint32_t>(recorded.size());
}

void UnitDouble::flush() {
    const Exclusive exclusive(mutex);
    begin("flush");
}

} // namespace simulation
