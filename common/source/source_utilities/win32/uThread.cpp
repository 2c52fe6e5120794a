#include "common/source/source_utilities/uThread.h"

#include <windows.h>
#include <process.h>

namespace VX_QRS {

struct uThread::Native {
    HANDLE handle = nullptr;
    unsigned id = 0;

    static unsigned __stdcall enter(void* runnable) {
        if (runnable != nullptr) {
            static_cast<uRunnable*>(runnable)->run();
        }
        return 0;
    }
};

uThread::uThread(uRunnable* body, std::int32_t threadPriority, std::uint32_t bytes)
    : runnable(body), native(std::make_unique<Native>()), priority(threadPriority), stackSize(bytes) {}

uThread::~uThread() {
    if (native->handle != nullptr) {
        CloseHandle(native->handle);
    }
}

bool uThread::start() {
    if (native->handle != nullptr) {
        if (!wait(0)) {
            return false;
        }
        CloseHandle(native->handle);
        native->handle = nullptr;
        native->id = 0; // no thread, in case the creation fails
    }
    // Only the runnable is passed: the thread may outlive this object.
    const std::uintptr_t made =
        _beginthreadex(nullptr, stackSize, &Native::enter, runnable, CREATE_SUSPENDED, &native->id);
    if (made == 0) {
        return false;
    }
    native->handle = reinterpret_cast<HANDLE>(made);
    SetThreadPriority(native->handle, priority);
    return ResumeThread(native->handle) == 1;
}

bool uThread::wait(std::uint32_t milliseconds) {
    if (native->handle == nullptr || isCurrent()) {
        return false;
    }
    return WaitForSingleObject(native->handle, milliseconds) == WAIT_OBJECT_0;
}

bool uThread::isCurrent() const {
    return native->handle != nullptr && native->id == GetCurrentThreadId();
}

std::uint32_t uThread::threadId() const {
    return native->id;
}

void uThread::sleep(std::uint32_t milliseconds) {
    Sleep(milliseconds);
}

} // namespace VX_QRS
