#include "bench/server/Codec.h"
#include "bench/server/Service.h"
#include "bench/unit/Unit.h"
#include "fuzz/Require.h"
#include "fuzz/Targets.h"

#include <algorithm>
#include <array>
#include <mutex>
#include <string_view>
#include <vector>

namespace fuzz {

namespace {

using bench::Bytes;
using bench::Request;

constexpr std::size_t mostRequests = 64; // each may be answered with a part of a recording

std::vector<Request> requestsOf(Input bytes, std::size_t piece) {
    bench::RequestReader reader;
    std::vector<Request> requests;
    while (!bytes.empty()) {
        const Input part = bytes.first(std::min(piece, bytes.size()));
        bytes = bytes.subspan(part.size());
        reader.feed(part);
        while (auto request = reader.next()) {
            requests.push_back(*std::move(request));
        }
    }
    return requests;
}

bool same(const Request& one, const Request& other) {
    return one.command == other.command && one.arguments == other.arguments;
}

void checkEscapes(Input bytes) {
    bench::ReplyWriter writer;
    writer.raw("$x");
    writer.bytes(bytes);
    const Bytes packet = writer.finish();
    const auto read = requestsOf(packet, packet.size());
    require(read.size() == 1 &&
                std::equal(bytes.begin(), bytes.end(), read[0].arguments.begin(), read[0].arguments.end()),
            "escaped bytes are read as they were");
}

bench::Scenario scenarioOf(unsigned choice) {
    bench::Scenario scenario;
    scenario.transmitter.frequencies = {1e6, 50e6, 0.0};
    scenario.unit.bridgeNeedsReset = (choice & 1) != 0;
    scenario.unit.errorA = (choice & 2) != 0 ? 0x11 : 0;
    scenario.wiring.jitter = (choice & 4) != 0 ? 0.6 : 0.0;
    scenario.server.speed = (choice & 8) != 0 ? 4.0 : 1.0;
    if ((choice & 16) != 0) {
        scenario.unit.cells.push_back({0x4000, 3, 5, 1, 1});
        bench::PinWiring& pin = scenario.wiring.pins.emplace_back();
        pin.emu = 2;
        pin.skew = 1.5;
        pin.lateFall = -2.0;
        pin.glitchEvery = 900.0;
        pin.glitchLength = 2.0;
    }
    return scenario;
}

/// The target sends trace on all pins, and every input of channel 0 is on.
void prepare(bench::Unit& unit) {
    bench::TargetProgram program;
    program.pattern = "none";
    program.frequency = 1;
    program.pins = {0, 1, 2, 3, 4};
    unit.programTarget(program);
    constexpr std::array inputs{4U, 5U, 2U, 3U, 6U};
    for (unsigned proc = 0; proc < inputs.size(); ++proc) {
        unit.write(bench::reg::kindUnit, bench::reg::procFirst(0, proc), bench::reg::enableBit | inputs[proc] << 8);
    }
    unit.write(bench::reg::kindUnit, bench::reg::stmControl(0), bench::reg::captureEnableBit);
}

void checkReply(const Bytes& bytes) {
    const std::string_view reply(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    require(reply.starts_with("$") && reply.ends_with("#00"), "a reply is a packet");
    require(reply.find('#') == reply.size() - 3, "a packet ends once");
}

} // namespace

void benchRequests(Input input) {
    if (input.size() < 2) {
        return;
    }
    constexpr std::array<std::uint64_t, 4> steps{1000, 20'000, 100'000, 500'000}; // nanoseconds
    const unsigned choice = input[0];
    const Input bytes = input.subspan(2);
    checkEscapes(bytes);
    std::vector<Request> requests = requestsOf(bytes, bytes.size());
    const auto again = requestsOf(bytes, 1 + input[1] % 16U);
    require(std::equal(requests.begin(), requests.end(), again.begin(), again.end(),
                       [](const auto& a, const auto& b) { return same(a, b); }),
            "pieces of any size give the same requests");
    requests.resize(std::min(requests.size(), mostRequests));

    std::uint64_t now = 0;
    bench::Unit unit(scenarioOf(choice), [&now] { return now; });
    std::mutex mutex;
    bench::Service service(unit, mutex, 1);
    prepare(unit);
    for (const Request& request : requests) {
        now += steps[choice >> 6];
        const Bytes reply = service.answer(request);
        if (request.command == 'D') {
            require(reply.empty() && service.ended(), "the last request has no reply");
            return;
        }
        checkReply(reply);
    }
}

} // namespace fuzz
