#pragma once

#include "mpx/MpxEcomServer/DataClient.h"
#include "tests/simulation/scenarios/proxy/ServerProgram.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace simulation {

/// A data client over the product's own sockets and processes, with the rules that hold whatever a scenario does.
class ProxyRig final : public VX_QRS::ORV::DataClient::Callback {
public:
    static constexpr std::uint32_t port = 55760;

    explicit ProxyRig(const ServerPlan& plan = {});
    ProxyRig(const ProxyRig&) = delete;
    ProxyRig& operator=(const ProxyRig&) = delete;
    /// Destroys the client and checks that its server has ended.
    ~ProxyRig() override;

    /// False when there is no client. `mayFail`: the scenario gives a reason besides the faults.
    bool create(bool mayFail = false);
    void destroy();
    VX_QRS::ORV::DataClient& client() { return *object; }
    bool hasClient() const { return object != nullptr; }

    /// Opens the recording stream with this object as its callback.
    bool open();
    VX_QRS::ORV::DataClient::Channel& stream() { return *channel; }

    /// Runs a request; true when it did not throw. The texts of failures are the contract's, and no lock is left.
    bool attempt(const std::function<void()>& request);
    /// Writes registers of its own and reads them and others back.
    bool useRegisters(std::uint32_t firstAddress);
    /// Requests recorded data; counts them when the request did not throw.
    bool requestData(std::uint32_t count);

    /// The rules for the recorded data once all threads have made their requests: all that was requested has arrived,
    /// or a request has failed.
    void judgeData();

    std::function<void()> inCallback; ///< after the bytes were taken
    bool expectsFailures = false;     ///< of requests, besides those of the faults
    bool isAlone = true;              ///< no other client lives at the same time

private:
    void onData(const void* data, std::uint32_t size) override;
    void onError(std::uint32_t code, const char* first, const char* second) override;
    void onStatus(std::uint32_t value) override;
    void begin();
    void judgeRest(const char* when) const;

    std::shared_ptr<ServerRecord> record; ///< of the servers, which may live longer than this object
    VX_QRS::ORV::DataClient* object = nullptr;
    VX_QRS::ORV::DataClient::Channel* channel = nullptr;
    std::size_t delivered = 0;
    bool anyFailed = false;
    bool isInside = false;
};

} // namespace simulation
