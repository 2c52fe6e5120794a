#pragma once

#include "mpx/MpxEcomServer/DataClient.h"
#include "tests/simulation/backend/SimulatedLock.h"

#include <cstdint>
#include <vector>

namespace simulation {

/// A data client over another one that knows of no threads: requests exclude each other, each is a choice point and may
/// fail, and callbacks run inside them, with the lock held.
class RequestPoints final : public VX_QRS::ORV::DataClient, public VX_QRS::ORV::DataClient::Channel {
public:
    explicit RequestPoints(VX_QRS::ORV::DataClient& inner) : client(inner), callback(*this) {}

    /// What was handed on since the recording's start.
    const std::vector<std::uint8_t>& delivered() const { return bytes; }

    void connect(const char* url) override;
    void disconnect() override;
    void read(VX_QRS::ORV::RegisterAccess* list, std::uint32_t count) override;
    void write(const VX_QRS::ORV::RegisterAccess* list, std::uint32_t count) override;
    DataClient::Channel* openChannel(std::uint32_t bufferSize, std::uint32_t mode, Callback* newCallback) override;
    void closeChannel(DataClient::Channel* channel) override;
    void start() override;
    void status(std::uint32_t* ready) override;
    void peek(std::uint32_t first, std::uint32_t second, void* data, std::uint32_t* size) override;
    void stop() override;
    void request(std::uint32_t count) override;
    void cancel() override;
    void flush() override;

private:
    /// Back in the product's code for as long as it handles a record.
    class ProductCallback final : public Callback {
    public:
        explicit ProductCallback(RequestPoints& points) : owner(points) {}
        void onData(const void* data, std::uint32_t size) override;
        void onError(std::uint32_t code, const char* first, const char* second) override;
        void onStatus(std::uint32_t value) override;

    private:
        RequestPoints& owner;
    };

    template <class Work>
    void perform(const char* what, Work&& work);

    DataClient& client;
    DataClient::Channel* stream = nullptr; // the inner client's
    Callback* target = nullptr;
    ProductCallback callback;
    SimulatedLock mutex;
    std::vector<std::uint8_t> bytes;
};

} // namespace simulation
