#include "bench/siblings/SideConnection.h"

#include <array>
#include <fstream>

namespace bench {

SideConnection::SideConnection(std::string portFile, int answerLimit) : file(std::move(portFile)), limit(answerLimit) {}

bool SideConnection::connect() {
    unsigned port = 0;
    std::ifstream in(file);
    if (!(in >> port) || port == 0 || port > 0xFFFF) {
        error = "no bench server: " + file + " holds no port";
        return false;
    }
    if (socket.connect("127.0.0.1", static_cast<std::uint16_t>(port)) != VX_QRS::uSocket::done) {
        error = "no bench server at port " + std::to_string(port) + ": " + socket.lastError();
        return false;
    }
    return true;
}

bool SideConnection::exchange(const std::string& line, std::string& answer) {
    const std::string sent = line + "\n";
    std::int32_t count = 0;
    for (std::size_t done = 0; done < sent.size(); done += static_cast<std::size_t>(count)) {
        if (socket.write(sent.data(), static_cast<std::uint32_t>(sent.size() - done), static_cast<std::uint32_t>(done),
                         count) != VX_QRS::uSocket::done) {
            error = "bench server: " + socket.lastError();
            return false;
        }
    }
    answer.clear();
    std::array<char, 256> piece{};
    while (answer.find('\n') == std::string::npos) {
        if (!socket.waitReadable(limit)) {
            error = "bench server: no answer to '" + line + "'";
            return false;
        }
        if (socket.read(piece.data(), static_cast<std::uint32_t>(piece.size()), 0, count) != VX_QRS::uSocket::done) {
            error = "bench server: " + socket.lastError();
            return false;
        }
        answer.append(piece.data(), static_cast<std::size_t>(count));
    }
    answer.resize(answer.find('\n'));
    if (!answer.empty() && answer.back() == '\r') {
        answer.pop_back();
    }
    return true;
}

std::optional<std::string> SideConnection::request(const std::string& line) {
    error.clear();
    const bool fresh = !socket.isOpen();
    if (fresh && !connect()) {
        return std::nullopt;
    }
    std::string answer;
    bool answered = exchange(line, answer);
    if (!answered && !fresh) {
        // The server that this connection went to may have been replaced.
        socket.close();
        answered = connect() && exchange(line, answer);
    }
    if (!answered) {
        socket.close();
        return std::nullopt;
    }
    if (answer == "ok") {
        return std::string();
    }
    if (answer.rfind("ok ", 0) == 0) {
        return answer.substr(3);
    }
    error = answer;
    return std::nullopt;
}

} // namespace bench
