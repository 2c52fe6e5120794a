#include "tests/support/bench_client/BenchRig.h"

#include "common/source/Exception.h"

#include <array>
#include <cstdio>
#include <fstream>
#include <mutex>
#include <vector>

namespace bench_client {

namespace {

using namespace VX_QRS::ORV::CLIENT;

// A factory of data clients has no context, so the rig under construction puts its client here.
thread_local VX_QRS::ORV::DataClient* nextClient = nullptr;

// All channels of a process share one parser.
std::mutex parserMutex;

VX_QRS::ORV::DataClient* takeClient(std::uint32_t) {
    return nextClient;
}

void leaveClient(VX_QRS::ORV::DataClient*) {}

std::string pinMapOf(unsigned dataPins) {
    std::string map = "0";
    for (unsigned pin = 1; pin <= dataPins; ++pin) {
        map += ',';
        map += std::to_string(pin);
    }
    return map;
}

} // namespace

BenchRig::BenchRig(const bench::Scenario& chosen, const std::filesystem::path& folder, const std::string& lines)
    : scenario(chosen), unit(scenario, [this] { return time.now; }), client(unit, time), transmitter(unit, scenario),
      stem((folder / "trace").string()) {
    unit.onRecording = [this](const bench::RecordingTruth& seen) { truth = seen; };
    unit.onFinished = [this](const bench::ContentsTruth& seen) { contents = seen; };
    const std::lock_guard lock(parserMutex);
    nextClient = &client;
    frontEnd = std::make_unique<FrontEnd_1>(DataClientFactory{&takeClient, &leaveClient}, time);
    channel = std::make_unique<FrontEndChannel_1>(frontEnd.get(), &transmitter);
    const std::string props = (folder / "props.txt").string();
    const std::string pinMap = scenario.pinMap.empty() ? pinMapOf(scenario.pins) : scenario.pinMap;
    std::ofstream(props) << "[Global]\norv=bench\n[Channel 0]\nfile=" << stem << "\npinMap=" << pinMap << "\n" << lines;
    frontEnd->setProperty("propsFile", props.c_str());
    channel->setProperty("propsFile", props.c_str());
    channel->applySettings();
}

BenchRig::~BenchRig() {
    const std::lock_guard lock(parserMutex);
    channel.reset();
    frontEnd.reset();
}

std::optional<std::string> BenchRig::recordPattern(std::uint32_t bytes) {
    const std::string path = stem + ".long";
    ChannelInspector in = inside();
    try {
        in.internalStart(bytes, "stop", "verification",
                         {.prepare = true, .enableTransmitter = true, .bypassProtocol = false});
        in.control().dataFile = VX_QRS::OutputFile(path, VX_QRS::OutputFile::Mode::binary);
        channel->run();
        if (in.control().hasError) {
            return in.control().errorText;
        }
        std::uint32_t trace = 0;
        std::uint32_t other = 0;
        std::uint32_t data = 0;
        std::uint32_t sync = 0;
        std::uint32_t zero = 0;
        verifyPatternFile(*transmitter.getPattern(), path.c_str(), 0, bytes / 512, trace, other, data, sync, zero);
    } catch (const std::exception& e) {
        std::remove(path.c_str());
        return e.what();
    }
    std::remove(path.c_str());
    return std::nullopt;
}

std::optional<std::string> BenchRig::recordTrace(std::uint32_t bytes) {
    const std::string path = stem + ".long";
    ChannelInspector in = inside();
    std::string fault;
    try {
        in.internalStart(bytes, "stop", "none", {.prepare = true, .enableTransmitter = true, .bypassProtocol = false});
        in.control().dataFile = VX_QRS::OutputFile(path, VX_QRS::OutputFile::Mode::binary);
        channel->run();
        fault = in.control().hasError ? in.control().errorText : faultOfTrace(path);
    } catch (const std::exception& e) {
        fault = e.what();
    }
    std::remove(path.c_str());
    return fault.empty() ? std::nullopt : std::optional(fault);
}

/// Compares a recording of the generated trace with the words that were sent. After a lost clock pulse nearly all
/// words are wrong.
std::string BenchRig::faultOfTrace(const std::string& path) const {
    constexpr std::size_t packetWords = bench::packetBytes / 2;
    const bool packets = contents->framing == bench::Framing::Packets;
    const std::size_t payload = packets ? packetWords - 1 : packetWords;
    const bench::WordStream sent(bench::makeGeneratedTrace(scenario.wiring.seed),
                                 scenario.kind == bench::ExportKind::Pti ? scenario.transmitter.syncEvery : 0);
    std::uint64_t next = contents->runs.at(0).firstWord;
    const std::uint64_t end = next + contents->runs.at(0).words;
    std::uint64_t checked = 0;
    std::uint64_t wrong = 0;
    std::vector<std::uint16_t> expected(payload);
    std::array<std::uint8_t, bench::packetBytes> packet{};
    std::ifstream in(path, std::ios::binary);
    while (next < end && in.read(reinterpret_cast<char*>(packet.data()), packet.size())) {
        sent.fill(next, expected);
        for (std::size_t word = 0; word < payload && next < end; ++word, ++next, ++checked) {
            wrong += expected[word] != (packet[2 * word] | (packet[2 * word + 1] << 8)) ? 1U : 0U;
        }
    }
    if (checked == 0) {
        return "no trace was recorded";
    }
    return wrong == 0 ? std::string()
                      : std::to_string(wrong) + " of " + std::to_string(checked) + " words of trace are wrong";
}

} // namespace bench_client
