#pragma once

#include "common/source/source_utilities/uSocket.h"

#include <cstdint>

/// Platform layer of uSocket, one function per system call. Errors are numbers of Windows Sockets on all systems.
namespace VX_QRS::nativeSocket {

using Handle = uSocket::Handle;

bool startLayer();
Handle create();
bool setNoDelay(Handle handle);
bool connect(Handle handle, const char* address, std::uint16_t port);
bool bindToAnyAddress(Handle handle, std::uint16_t port);
bool listen(Handle handle, int backlog);
Handle accept(Handle handle, uSocket::Peer& peer);
std::uint16_t localPort(Handle handle);
std::uint16_t remotePort(Handle handle);
std::int32_t receive(Handle handle, void* data, std::int32_t size);
std::int32_t send(Handle handle, const void* data, std::int32_t size);
void shutDownAndClose(Handle handle);

/// False only on a timeout; a negative time is unlimited.
bool waitReadable(Handle handle, int milliseconds);

/// Error number of this thread's latest call.
int lastError();

} // namespace VX_QRS::nativeSocket
