#pragma once

#include <windows.h>

namespace VX_QRS {

class NativeMutex {
public:
    NativeMutex() { InitializeCriticalSection(&section); }
    NativeMutex(const NativeMutex&) = delete;
    NativeMutex& operator=(const NativeMutex&) = delete;
    ~NativeMutex() { DeleteCriticalSection(&section); }

    void enter() { EnterCriticalSection(&section); }
    void leave() { LeaveCriticalSection(&section); }

private:
    CRITICAL_SECTION section;
};

} // namespace VX_QRS
