#include "tests/unit/mpx/Operations.h"

#include <array>
#include <cstdint>

using frames::word;
using VX_QRS::ORV::OrvEcomProxy;
using VX_QRS::ORV::RegisterAccess;

namespace {

std::array<char, 64> peeked{};

std::string bytesOfThePointer() {
    std::string bytes;
    auto value = reinterpret_cast<std::uintptr_t>(peeked.data());
    for (std::uint32_t i = 0; i < peekSize; ++i) {
        bytes.push_back(static_cast<char>(value % 256));
        value /= 256;
    }
    return bytes;
}

void readOne(OrvEcomProxy& proxy, RecordingCallback&) {
    RegisterAccess access{1, 0x40, 0};
    proxy.read(&access, 1);
}

void writeOne(OrvEcomProxy& proxy, RecordingCallback&) {
    const RegisterAccess access{1, 0x23, 0x2A};
    proxy.write(&access, 1);
}

void askStatus(OrvEcomProxy& proxy, RecordingCallback&) {
    std::uint32_t ready = 77;
    proxy.status(&ready);
}

void peek(OrvEcomProxy& proxy, RecordingCallback&) {
    std::uint32_t size = peekSize;
    proxy.peek(7, 9, peeked.data(), &size);
}

} // namespace

const std::vector<Operation>& operations() {
    using Proxy = OrvEcomProxy;
    using Callback = RecordingCallback;
    static const std::vector<Operation> all{
        {"connect", 'c', word(5) + "usb#0", "", [](Proxy& p, Callback&) { p.connect("usb#0"); }},
        {"disconnect", 'C', "", "", [](Proxy& p, Callback&) { p.disconnect(); }},
        {"read", 'm', word(1) + frames::access(1, 0x40, 0), frames::access(1, 0x40, 0x23242A7D), readOne},
        {"write", 'M', word(1) + frames::access(1, 0x23, 0x2A), "", writeOne},
        {"openChannel", 'o', word(16384) + word(1), "", [](Proxy& p, Callback& c) { p.openChannel(16384, 1, &c); }},
        {"closeChannel", 'O', "", "", [](Proxy& p, Callback&) { p.closeChannel(&p); }},
        {"start", 's', "", "", [](Proxy& p, Callback&) { p.start(); }},
        {"status", '?', word(77), word(0x7D23), askStatus},
        {"peek", 'p', word(7) + word(9) + word(peekSize) + bytesOfThePointer(), word(6) + "}#$*.\xFF", peek},
        {"stop", 'S', "", "", [](Proxy& p, Callback&) { p.stop(); }},
        {"request", 'r', word(16384), "", [](Proxy& p, Callback&) { p.request(16384); }},
        {"cancel", 'x', "", "", [](Proxy& p, Callback&) { p.cancel(); }},
        {"flush", 'f', "", "", [](Proxy& p, Callback&) { p.flush(); }},
        {"pollServer", '~', "", "", [](Proxy& p, Callback&) { p.pollServer(); }},
    };
    return all;
}
