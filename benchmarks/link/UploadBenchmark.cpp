#include "benchmarks/link/Ratios.h"
#include "benchmarks/link/ServerProcess.h"
#include "benchmarks/link/Upload.h"
#include "benchmarks/support/Memory.h"
#include "link/PacketIo.h"
#include "mpx/MpxEcomServer/EcomWire.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

// Recorded data on its way into `onData`, from a server in another process, against a bare loop that only receives as
// many bytes of the same kind.

using namespace VX_QRS::ORV;
using namespace MPX_GDB_AGENT;

namespace {

constexpr std::uint32_t uploadSize = 32 * mebi; // of the comparison with the bare loop
constexpr std::uint32_t replySize = 1 * mebi;   // the most that a receiver requests
constexpr std::uint32_t longReply = 128 * mebi;
constexpr std::uint32_t chunkSize = OrvEcomProxy::defaultChunkSize;

class Counting : public DataClient::Callback {
public:
    void onData(const void* data, std::uint32_t size) override {
        benchmark::DoNotOptimize(data);
        bytes += size;
    }
    void onError(std::uint32_t, const char*, const char*) override {}
    void onStatus(std::uint32_t) override {}

    std::uint64_t bytes = 0;
};

// Works without a client: sends requests, and receives replies without reading them.
class BareLink {
public:
    BareLink() : link(ServerProcess::get().connect()), chunk(chunkSize) {}
    ~BareLink() { link->closeClient(); }

    void send(char command, const std::vector<std::uint32_t>& words) {
        PacketBuffer packet;
        packet.appendByte(packetStart);
        packet.appendByte(static_cast<std::uint8_t>(command));
        for (const std::uint32_t value : words) {
            wire::Word bytes{};
            wire::put(value, bytes);
            packet.appendEscaped(bytes.data(), wire::wordSize);
        }
        packet.appendByte(packetEnd);
        packet.appendChecksum(wire::checksum);
        if (writePacket(*link, packet) != IoOk) {
            throw std::runtime_error("the server does not take a request");
        }
    }

    /// Receives a whole reply. @return its bytes.
    std::uint64_t measureReply() {
        std::uint64_t size = 0;
        while (std::find(chunk.begin(), chunk.begin() + last, packetEnd) == chunk.begin() + last) {
            size += receive();
        }
        last = 0;
        return size;
    }

    void receive(std::uint64_t bytes) {
        while (bytes != 0) {
            bytes -= receive();
        }
    }

private:
    std::uint32_t receive() {
        std::uint32_t count = 0;
        if (link->receive(chunk.data(), chunkSize, count) != IoOk) {
            throw std::runtime_error("the server is gone");
        }
        last = count;
        return count;
    }

    std::unique_ptr<IGdbIo> link;
    std::vector<std::uint8_t> chunk;
    std::uint32_t last = 0;
};

Content contentOf(const benchmark::State& state) {
    return static_cast<Content>(state.range(0));
}

std::uint32_t recordOf(const benchmark::State& state) {
    return static_cast<std::uint32_t>(state.range(1));
}

void bareUpload(benchmark::State& state) {
    BareLink link;
    link.send(wire::command::openChannel, {recordOf(state), static_cast<std::uint32_t>(contentOf(state))});
    link.measureReply();
    link.send(wire::command::request, {replySize});
    const std::uint64_t wireSize = link.measureReply();
    for (auto unused : state) {
        for (std::uint32_t sent = 0; sent < uploadSize; sent += replySize) {
            link.send(wire::command::request, {replySize});
            link.receive(wireSize);
        }
    }
}

// An open channel with a client of its own.
struct Upload {
    Upload(Content kind, std::uint32_t record) : client(ServerProcess::get().client()) {
        channel = client->openChannel(record, static_cast<std::uint32_t>(kind), &counting);
    }

    // Whether all bytes arrived.
    bool run(std::uint32_t size, std::uint32_t reply) {
        counting.bytes = 0;
        for (std::uint32_t asked = 0; asked < size; asked += reply) {
            channel->request(reply);
        }
        return counting.bytes == size;
    }

    Counting counting;
    std::unique_ptr<OrvEcomProxy> client;
    DataClient::Channel* channel = nullptr;
};

void upload(benchmark::State& state) {
    Upload upload(contentOf(state), recordOf(state));
    for (auto unused : state) {
        if (!upload.run(uploadSize, replySize)) {
            state.SkipWithError("bytes are missing");
        }
    }
}

// Seconds per MiB of one reply of a given size that is the first one of its client, so that the buffers have to grow.
void firstReply(benchmark::State& state) {
    using Clock = std::chrono::steady_clock;
    const auto size = static_cast<std::uint32_t>(state.range(0)) * mebi;
    // As many clients as it takes to move the same bytes.
    const std::uint32_t clients = longReply / size;
    for (auto unused : state) {
        std::chrono::duration<double> spent{};
        for (std::uint32_t i = 0; i < clients; ++i) {
            Upload upload(Content::Random, mebi);
            const auto begin = Clock::now();
            if (!upload.run(size, size)) {
                state.SkipWithError("bytes are missing");
            }
            spent += Clock::now() - begin;
        }
        state.SetIterationTime(spent.count());
    }
}

// The same after the client has received such a reply.
void laterReply(benchmark::State& state) {
    const auto size = static_cast<std::uint32_t>(state.range(0)) * mebi;
    Upload upload(Content::Random, mebi);
    upload.run(size, size);
    for (auto unused : state) {
        if (!upload.run(longReply, size)) {
            state.SkipWithError("bytes are missing");
        }
    }
}

// Bytes above idle while 128 MiB pass. Measured once, before all others: later freed memory is reused.
double peakOfUpload() {
    static const double peak = [] {
        Upload upload(Content::Random, mebi);
        const std::size_t idle = benchmarks::residentBytes();
        benchmarks::forgetPeak();
        upload.run(longReply, replySize);
        const std::size_t most = benchmarks::peakResidentBytes();
        return static_cast<double>(most > idle ? most - idle : 0);
    }();
    return peak;
}

void uploadMemory(benchmark::State& state) {
    for (auto unused : state) {
        state.counters["peak"] = peakOfUpload();
    }
}

void kinds(benchmark::internal::Benchmark* benchmark) {
    for (const Content kind : {Content::Plain, Content::Random}) {
        for (const std::int64_t record : {64 * kibi, mebi}) {
            benchmark->Args({static_cast<std::int64_t>(kind), record});
        }
    }
    benchmark->UseRealTime();
}

BENCHMARK(bareUpload)->Apply(kinds);
BENCHMARK(upload)->Apply(kinds);
BENCHMARK(laterReply)->Arg(1)->Arg(128)->UseRealTime();
BENCHMARK(firstReply)->Arg(1)->Arg(128)->Iterations(1)->UseManualTime();
BENCHMARK(uploadMemory)->Iterations(1);

} // namespace

void reportUpload(benchmarks::Report& report) {
    using namespace benchmarks;
    peakOfUpload();
    for (const Content kind : {Content::Random, Content::Plain}) {
        for (const std::uint32_t record : {64 * kibi, mebi}) {
            const std::string arguments =
                "/" + std::to_string(static_cast<std::uint32_t>(kind)) + "/" + std::to_string(record) + "/real_time";
            const std::string what = std::string(kind == Content::Random ? "random" : "escape-free") +
                                     " bytes in records of " + std::to_string(record / kibi) + " KiB";
            report.ratio("upload of " + what + ", speed by processor time against recv alone",
                         processorOf("bareUpload" + arguments), processorOf("upload" + arguments),
                         atLeast(kind == Content::Random ? 0.75 : 0.8));
            report.figure("upload of " + what, perSecondOf("upload" + arguments, uploadSize), "byte/s");
        }
    }
    report.ratio("reply of 128 MiB, time per byte against one of 1 MiB", secondsOf("laterReply/128/real_time"),
                 secondsOf("laterReply/1/real_time"), atMost(1.3));
    report.ratio("the same for the first reply of a client", secondsOf("firstReply/128/iterations:1/manual_time"),
                 secondsOf("firstReply/1/iterations:1/manual_time"), atMost(1.3));
    report.figure("peak memory above idle, 128 MiB in replies of 1 MiB",
                  counterOf("uploadMemory/iterations:1", "peak", 1.0 / mebi), "MiB", atMost(16));
}
