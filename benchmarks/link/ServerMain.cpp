#include "benchmarks/link/Upload.h"
#include "common/source/source_utilities/uSocket.h"
#include "link/PacketBuffer.h"
#include "mpx/MpxEcomServer/EcomWire.h"

#include <cstdlib>
#include <memory>
#include <span>
#include <string>
#include <thread>
#include <utility>

// A data server whose replies are prepared, so that only the client is measured.
//   benchmark_link_server <port>

namespace {

using namespace VX_QRS;
using MPX_GDB_AGENT::PacketBuffer;
namespace wire = ORV::wire;

void append(PacketBuffer& packet, const std::string& raw) {
    for (const char c : raw) {
        packet.appendByte(static_cast<std::uint8_t>(c));
    }
}

void appendWord(PacketBuffer& packet, std::uint32_t value) {
    wire::Word word{};
    wire::put(value, word);
    packet.appendEscaped(word.data(), wire::wordSize);
}

class Session {
public:
    explicit Session(std::unique_ptr<uSocket> connected) : socket(std::move(connected)) {}

    void serve() {
        while (receive()) {
            const char command = static_cast<char>(request.unread()[1]);
            request.startsWith("$", 1, true);
            request.startsWith(&command, 1, true);
            if (!answer(command)) {
                return;
            }
            request.drop(request.length);
        }
    }

private:
    // One request; a client sends the next one only after the reply.
    bool receive() {
        std::uint32_t end = 0;
        while (!request.findByte(MPX_GDB_AGENT::packetEnd, end) || request.length < end + 1 + wire::checksumSize) {
            constexpr std::uint32_t most = 64 * kibi;
            std::int32_t count = 0;
            if (!request.ensureSpace(most) || socket->read(request.space(), most, 0, count) != uSocket::done) {
                return false;
            }
            request.commit(static_cast<std::uint32_t>(count));
        }
        return true;
    }

    bool answer(char command) {
        PacketBuffer payload;
        switch (command) {
        case wire::command::version:
            appendWord(payload, wire::serverVersion);
            break;
        case wire::command::read: {
            const std::uint32_t count = word();
            appendWords(payload, 3 * count);
            break;
        }
        case wire::command::openChannel: {
            const std::uint32_t size = word();
            prepareRecord(static_cast<Content>(word()), size);
            break;
        }
        case wire::command::request:
            for (std::uint32_t left = word(); left >= recordSize && left != 0; left -= recordSize) {
                if (!send(record)) {
                    return false;
                }
            }
            break;
        default:
            break;
        }
        PacketBuffer reply;
        append(reply, wire::marker::ok);
        append(reply, {reinterpret_cast<const char*>(payload.unread()), payload.length});
        append(reply, "#00");
        return send(reply);
    }

    void appendWords(PacketBuffer& payload, std::uint32_t count) {
        for (std::uint32_t i = 0; i < count; ++i) {
            appendWord(payload, word());
        }
    }

    std::uint32_t word() {
        wire::Word bytes{};
        std::uint32_t decoded = 0;
        request.decode(bytes.data(), wire::wordSize, decoded);
        return wire::get(bytes);
    }

    void prepareRecord(Content kind, std::uint32_t size) {
        recordSize = size;
        record.create(2 * size);
        append(record, wire::marker::record);
        appendWord(record, wire::record::data);
        appendWord(record, size);
        const auto bytes = contentOf(kind, size);
        record.appendEscaped(bytes.data(), size);
    }

    bool send(const PacketBuffer& packet) {
        for (std::uint32_t sent = 0; sent < packet.length;) {
            std::int32_t count = 0;
            if (socket->write(packet.unread() + sent, packet.length - sent, 0, count) != uSocket::done) {
                return false;
            }
            sent += static_cast<std::uint32_t>(count);
        }
        return true;
    }

    std::unique_ptr<uSocket> socket;
    PacketBuffer request;
    PacketBuffer record;
    std::uint32_t recordSize = 0;
};

} // namespace

int main(int argc, char** argv) {
    uSocket listener;
    if (argc != 2 || listener.listen(static_cast<std::uint16_t>(std::atoi(argv[1]))) != uSocket::done) {
        return 1;
    }
    for (;;) {
        std::unique_ptr<uSocket> client = listener.accept();
        if (client == nullptr) {
            return 1;
        }
        std::thread([client = std::move(client)]() mutable { Session(std::move(client)).serve(); }).detach();
    }
}
