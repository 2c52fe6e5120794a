#include "tests/simulation/scenarios/doubles/UnitDouble.h"

#include <algorithm>
#include <stdexcept>

namespace simulation {

namespace {

constexpr std::uint32_t requestUnit = 16384;
constexpr std::uint32_t pieceSize = 8192;

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

void UnitDouble::record(std::uint32_t bytes) {
    for (std::uint32_t i = 0; i < bytes && recorded.size() < capacity; ++i) {
        recorded.push_back(static_cast<std::uint8_t>(recorded.size() * 7 + generation));
    }
}

void UnitDouble::connect(const char*) {}

void UnitDouble::disconnect() {}

void UnitDouble::read(VX_QRS::ORV::RegisterAccess* list, std::uint32_t count) {
    for (std::uint32_t i = 0; i < count; ++i) {
        const auto found = registers.find(list[i].address);
        list[i].value = found == registers.end() ? 0 : found->second;
    }
}

void UnitDouble::write(const VX_QRS::ORV::RegisterAccess*, std::uint32_t) {}

VX_QRS::ORV::DataClient::Channel* UnitDouble::openChannel(std::uint32_t, std::uint32_t, Callback* newCallback) {
    if (callback != nullptr) {
        throw std::runtime_error("internal channel open error");
    }
    callback = newCallback;
    return this;
}

void UnitDouble::closeChannel(DataClient::Channel*) {
    callback = nullptr;
}

void UnitDouble::start() {
    recorded.clear();
    delivered = 0;
    ++generation;
    isRecording = true;
}

void UnitDouble::status(std::uint32_t* ready) {
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
    *size = 0;
}

void UnitDouble::stop() {
    isRecording = false;
    record((requestUnit - recorded.size() % requestUnit) % requestUnit);
}

void UnitDouble::request(std::uint32_t count) {
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
    delivered = static_cast<std::uint32_t>(recorded.size());
}

void UnitDouble::flush() {}

} // namespace simulation
