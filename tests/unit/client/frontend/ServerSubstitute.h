#pragma once

#include <cstdint>

namespace client_test {

/// Data clients that front ends made in the default way hold now.
std::uint32_t serverClients();
/// From now on no data server can be reached in that way, or can again.
void refuseServer(bool refuse);

} // namespace client_test
