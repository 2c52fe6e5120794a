#include "tests/support/bench_client/BenchRig.h"

#include "common/source/Exception.h"

#include <cstdio>
#include <fstream>

namespace bench_client {

namespace {

using namespace VX_QRS::ORV::CLIENT;

// A factory of data clients has no context, so the rig under construction puts its client here.
VX_QRS::ORV::DataClient* nextClient = nullptr;

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

} // namespace bench_client
