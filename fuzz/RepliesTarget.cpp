#include "fuzz/Require.h"
#include "fuzz/Targets.h"
#include "link/IGdbIo.h"
#include "mpx/MpxEcomServer/OrvEcomProxy.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

namespace {

using namespace MPX_GDB_AGENT;
using namespace VX_QRS::ORV;
using namespace std::string_view_literals;

// A link whose peer has sent all its bytes and then disconnects.
class Replay : public IGdbIo {
public:
    explicit Replay(std::size_t most) : piece(most) {}

    void give(std::string_view bytes) { left = bytes; }

    std::uint32_t receive(void* buffer, std::uint32_t size, std::uint32_t& count) override {
        const std::size_t part = std::min({left.size(), piece, std::size_t{size}});
        std::memcpy(buffer, left.data(), part);
        left.remove_prefix(part);
        count = static_cast<std::uint32_t>(part);
        return part != 0 ? IoOk : IoDisconnected;
    }
    std::uint32_t send(const void*, std::uint32_t size, std::uint32_t& count) override {
        count = size;
        return IoOk;
    }
    std::uint32_t waitReadable(std::int32_t) override { return IoOk; }
    std::uint32_t waitWritable(std::int32_t) override { return IoOk; }
    std::uint32_t listenOn() override { return IoFailed; }
    std::uint32_t stopListening() override { return IoOk; }
    std::uint32_t acceptClient(std::int32_t) override { return IoFailed; }
    std::uint32_t connectTo(const char*) override { return IoOk; }
    std::uint32_t port() const override { return 0; }
    const char* peerName() override { return ""; }
    void closeClient() override {}

private:
    std::string_view left;
    std::size_t piece; // the most that one read returns
};

// Reads all bytes that it gets, for the sanitizer.
class Reader : public DataClient::Callback {
public:
    void onData(const void* data, std::uint32_t size) override {
        const auto* const bytes = static_cast<const std::uint8_t*>(data);
        sum = sum + static_cast<std::uint32_t>(std::count(bytes, bytes + size, std::uint8_t{0}));
    }
    void onError(std::uint32_t code, const char* first, const char* second) override {
        sum = sum + code + static_cast<std::uint32_t>(std::strlen(first) + std::strlen(second));
    }
    void onStatus(std::uint32_t value) override { sum = sum + value; }

private:
    volatile std::uint32_t sum = 0;
};

constexpr unsigned operations = 14;

void operate(OrvEcomProxy& proxy, Reader& reader, unsigned operation, std::uint32_t count, std::size_t mostBytes) {
    std::array<RegisterAccess, 256> list{};
    switch (operation % operations) {
    case 0:
        return proxy.connect("orv:0");
    case 1:
        return proxy.disconnect();
    case 2:
        return proxy.read(list.data(), count);
    case 3:
        return proxy.write(list.data(), count);
    case 4:
        proxy.openChannel(count, 0, &reader);
        return;
    case 5:
        return proxy.closeChannel(&proxy);
    case 6:
        return proxy.start();
    case 7:
        return proxy.status(&count);
    case 8: {
        // The reply determines how many bytes are stored, but no more than there are raw ones.
        std::vector<std::uint8_t> storage(mostBytes);
        return proxy.peek(1, 2, storage.data(), &count);
    }
    case 9:
        return proxy.stop();
    case 10:
        return proxy.request(count);
    case 11:
        return proxy.cancel();
    case 12:
        return proxy.flush();
    default:
        return proxy.pollServer();
    }
}

// Whether a failure's text is a known one. A text from the peer is unchanged.
bool isKnown(std::string_view text, std::string_view given) {
    for (const std::string_view known :
         {"disconnected from server"sv, "internal channel open error"sv, "internal rsp error"sv,
          "internal rsp exception"sv, "invalid rsp response"sv, "invalid rsp response data"sv,
          // From peek, whose payload has two parts.
          "invalid rsp response datainvalid rsp response data"sv, "invald rsp final response"sv}) {
        if (text == known) {
            return true;
        }
    }
    // A text from the peer may contain a NUL, where a reader may stop.
    if (text.empty()) {
        return given.find("$err\0"sv) != std::string_view::npos;
    }
    return text.starts_with("invalid rsp callback response") || given.find(text) != std::string_view::npos;
}

} // namespace

void replies(std::span<const std::uint8_t> input) {
    if (input.size() < 2) {
        return;
    }
    const unsigned choice = input[0];
    const std::uint32_t count = input[1];
    const std::string_view given(reinterpret_cast<const char*>(input.data()) + 2, input.size() - 2);
    constexpr std::array<std::uint32_t, 8> chunks{1, 2, 3, 7, 16, 64, 256, 4096};

    auto link = std::make_unique<Replay>((choice & 0x80) != 0 ? 1 : 0x10000);
    Replay& peer = *link;
    peer.give("$OK\1\0\0\0#00"sv);
    Reader reader;
    OrvEcomProxy proxy(std::move(link), chunks[count % chunks.size()]);
    if ((choice & 0x20) != 0) {
        peer.give("$OK#00"sv);
        proxy.openChannel(0, 0, &reader);
    }
    peer.give(given);
    const unsigned first = choice & 0x1F;
    for (unsigned operation = first; operation <= first + ((choice & 0x40) != 0 ? 1 : 0); ++operation) {
        try {
            operate(proxy, reader, operation, count, given.size());
        } catch (const std::runtime_error& failure) {
            require(isKnown(failure.what(), given), failure.what());
        }
    }
}

} // namespace fuzz
