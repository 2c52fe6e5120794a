#pragma once

// Details of the proxy's failures on a connection that fails.

inline constexpr const char* lost = "disconnected from server";
inline constexpr const char* unwritten = "failed to write to server";
