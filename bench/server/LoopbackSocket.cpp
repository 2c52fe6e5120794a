#include "bench/server/LoopbackSocket.h"

#include <utility>

namespace bench {

LoopbackSocket::LoopbackSocket(LoopbackSocket&& other) noexcept : handle(std::exchange(other.handle, none)) {}

LoopbackSocket& LoopbackSocket::operator=(LoopbackSocket&& other) noexcept {
    std::swap(handle, other.handle);
    return *this;
}

LoopbackSocket::~LoopbackSocket() {
    close();
}

} // namespace bench
