#pragma once

#include "mpx/MpxEcomServer/DataClient.h"

#include <cstdint>
#include <map>
#include <vector>

namespace simulation {

/// The capture unit and its data client as one object: registers without meaning beyond what a recording needs, and one
/// stream. For one thread at a time.
class UnitDouble final : public VX_QRS::ORV::DataClient, public VX_QRS::ORV::DataClient::Channel {
public:
    UnitDouble();

    /// What each recording holds, in bytes; the unit records a part of it between two status requests.
    std::uint32_t capacity = 3 * 16384;
    /// Whether the unit says that it is full, as it does in stop mode.
    bool tellsFull = false;
    /// What the present recording has recorded, as it has to come out.
    const std::vector<std::uint8_t>& content() const { return recorded; }

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
    void record(std::uint32_t bytes);

    std::map<std::uint32_t, std::uint32_t> registers;
    Callback* callback = nullptr;
    bool isRecording = false;
    std::vector<std::uint8_t> recorded;
    std::uint32_t delivered = 0;
    std::uint8_t generation = 0; // recordings differ
};

} // namespace simulation
