#include "tests/support/bench_client/BenchClient.h"

#include "common/source/Exception.h"
#include "common/source/source_utilities/uString.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <thread>

namespace bench_client {

namespace {

using namespace VX_QRS::ORV::CLIENT;

constexpr const char* unitName = "BenchClient";

class CallbackSink final : public bench::RecordSink {
public:
    explicit CallbackSink(VX_QRS::ORV::DataClient::Callback& target) : callback(target) {}
    void onData(std::span<const std::uint8_t> bytes) override {
        callback.onData(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    }
    void onStatus(std::uint32_t value) override { callback.onStatus(value); }

private:
    VX_QRS::ORV::DataClient::Callback& callback;
};

} // namespace

void BenchTime::sleep(std::uint32_t milliseconds) {
    now += std::uint64_t{milliseconds} * 1000000;
    waited += milliseconds;
    ++waits;
    if (sleepsReally) {
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    }
}

void BenchClient::connect(const char*) {
    const Request counted(time);
}

void BenchClient::disconnect() {
    const Request counted(time);
}

void BenchClient::read(RegisterAccess* list, std::uint32_t count) {
    const Request counted(time);
    for (std::uint32_t i = 0; i < count; ++i) {
        list[i].value = unit.read(list[i].kind, list[i].address);
    }
}

void BenchClient::write(const RegisterAccess* list, std::uint32_t count) {
    const Request counted(time);
    for (std::uint32_t i = 0; i < count; ++i) {
        unit.write(list[i].kind, list[i].address, list[i].value);
    }
}

VX_QRS::ORV::DataClient::Channel* BenchClient::openChannel(std::uint32_t bufferSize, std::uint32_t mode,
                                                           Callback* callback) {
    const Request counted(time);
    if (sink != nullptr) {
        throw std::runtime_error("internal channel open error");
    }
    unit.openChannel(bufferSize, mode);
    sink = callback;
    return this;
}

void BenchClient::closeChannel(VX_QRS::ORV::DataClient::Channel*) {
    const Request counted(time);
    if (sink != nullptr) {
        unit.closeChannel();
    }
    sink = nullptr;
}

void BenchClient::start() {
    const Request counted(time);
    unit.start();
}

void BenchClient::status(std::uint32_t* ready) {
    const Request counted(time);
    CallbackSink callback(*sink);
    unit.deliver(callback, bench::Unit::Before::StatusReply);
    *ready = unit.status();
}

void BenchClient::peek(std::uint32_t, std::uint32_t, void* data, std::uint32_t* size) {
    const Request counted(time);
    const std::vector<std::uint8_t> bytes = unit.peek(*size);
    std::copy(bytes.begin(), bytes.end(), static_cast<std::uint8_t*>(data));
    *size = static_cast<std::uint32_t>(bytes.size());
}

void BenchClient::stop() {
    const Request counted(time);
    unit.stop();
}

void BenchClient::request(std::uint32_t count) {
    const Request counted(time);
    unit.request(count);
    CallbackSink callback(*sink);
    unit.deliver(callback, bench::Unit::Before::OtherReply);
}

void BenchClient::cancel() {
    const Request counted(time);
    unit.cancel();
}

void BenchClient::flush() {
    const Request counted(time);
    unit.flush();
}

void BenchTransmitter::setProperty(const char* name, const char* value) {
    if (std::strcmp(name, "pins") == 0) {
        std::vector<std::string> items;
        VX_QRS::uString::split(items, value, ",");
        pins.clear();
        for (const std::string& item : items) {
            pins.push_back(VX_QRS::uString::toNumber<unsigned>(item));
        }
        return;
    }
    fail(unitName, eNAME, name);
}

void BenchTransmitter::getProperty(const char* name, const char** value) {
    if (std::strcmp(name, "drmXmtr") == 0) {
        kind = bench::exportKindName(scenario.kind);
        *value = kind.c_str();
    } else if (std::strcmp(name, "xmtrType") == 0) {
        *value = "";
    } else {
        fail(unitName, eNAME, name);
    }
}

void BenchTransmitter::program(const char* name, std::uint32_t frequencySetting) {
    std::string sent = name;
    if (sent == "calibration") {
        sent = "f0";
    } else if (sent == "verification") {
        sent = "ramp";
    }
    bench::TargetProgram target;
    target.pattern = sent;
    target.frequency = frequencySetting;
    target.kind = scenario.kind;
    target.pins = pins;
    unit.programTarget(target);
    pattern.reset(sent == "none" ? nullptr : createPattern(sent.c_str(), static_cast<std::uint32_t>(pins.size() - 1)));
}

std::uint32_t BenchTransmitter::numFrequencySettings() {
    return static_cast<std::uint32_t>(scenario.transmitter.frequencies.size());
}

Pattern* BenchTransmitter::getPattern() {
    if (pattern == nullptr) {
        fail(unitName, eSEQUENCE, "no pattern programmed");
    }
    return pattern.get();
}

} // namespace bench_client
