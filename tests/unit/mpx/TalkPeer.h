#pragma once

#include "common/source/source_utilities/uSocket.h"
#include "common/source/source_utilities/uThread.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

/// The server's end of one connection. Used by one thread.
class TalkPeer {
public:
    explicit TalkPeer(std::unique_ptr<VX_QRS::uSocket> accepted) : socket(std::move(accepted)) {}

    /// Reads `size` bytes; fewer when the client closes.
    std::string read(std::size_t size) {
        std::string bytes(size, '\0');
        std::uint32_t have = 0;
        while (have < size) {
            std::int32_t count = 0;
            if (socket->read(bytes.data(), static_cast<std::uint32_t>(size) - have, have, count) !=
                    VX_QRS::uSocket::done ||
                count <= 0) {
                break;
            }
            have += static_cast<std::uint32_t>(count);
        }
        bytes.resize(have);
        return bytes;
    }

    /// All bytes until the client closes.
    std::string readToTheEnd() {
        std::string all;
        for (std::string part = read(1); !part.empty(); part = read(1)) {
            all += part;
        }
        return all;
    }

    void write(std::string_view bytes) {
        std::uint32_t sent = 0;
        while (sent < bytes.size()) {
            std::int32_t count = 0;
            if (socket->write(bytes.data(), static_cast<std::uint32_t>(bytes.size()) - sent, sent, count) !=
                VX_QRS::uSocket::done) {
                break;
            }
            sent += static_cast<std::uint32_t>(count);
        }
    }

    void writeInSingles(std::string_view bytes) {
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            write(bytes.substr(i, 1));
        }
    }

    /// Whether no byte has arrived and the connection is open.
    bool isSilent() { return !socket->waitReadable(0); }
    void close() { socket->close(); }

private:
    std::unique_ptr<VX_QRS::uSocket> socket;
};
