#include "tests/simulation/scenarios/proxy/ServerTalk.h"

#include "tests/support/scripted_server/Frames.h"

#include <array>
#include <cstdlib>

namespace simulation {

using VX_QRS::uSocket;

std::uint32_t wordAt(const std::string& bytes, std::size_t at) {
    std::uint32_t value = 0;
    for (std::size_t i = wordSize; i-- > 0;) {
        value = value * 256 + static_cast<std::uint8_t>(bytes.at(at + i));
    }
    return value;
}

std::uint16_t portOf(const std::string& arguments) {
    return static_cast<std::uint16_t>(std::atoi(arguments.c_str() + arguments.find(' ') + 1));
}

bool ServerTalk::open(std::uint16_t port) {
    if (listener.listen(port) != uSocket::done) {
        return false;
    }
    client = listener.accept();
    return client != nullptr;
}

void ServerTalk::acceptSilent() {
    if (listener.isOpen() && listener.waitReadable(0)) {
        silent = listener.accept();
        listener.close();
    }
}

std::optional<Request> ServerTalk::next() {
    constexpr std::size_t tail = 3; // the end mark and two characters
    std::size_t end = 0;
    while ((end = pending.find('#')) == std::string::npos || pending.size() < end + tail) {
        std::array<char, 256> bytes{};
        std::int32_t count = 0;
        if (client->read(bytes.data(), bytes.size(), 0, count) != uSocket::done) {
            return {};
        }
        pending.append(bytes.data(), static_cast<std::size_t>(count));
    }
    acceptSilent();
    const std::size_t begin = pending.find('$') + 1;
    Request request{pending.at(begin), frames::unescaped(pending.substr(begin + 1, end - begin - 1))};
    pending.erase(0, end + tail);
    return request;
}

bool ServerTalk::send(const std::string& bytes) {
    std::int32_t count = 0;
    for (std::uint32_t at = 0; at < bytes.size(); at += static_cast<std::uint32_t>(count)) {
        if (client->write(bytes.data(), static_cast<std::uint32_t>(bytes.size()) - at, at, count) != uSocket::done) {
            return false;
        }
    }
    return true;
}

} // namespace simulation
