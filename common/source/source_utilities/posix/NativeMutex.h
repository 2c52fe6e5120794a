#pragma once

#include <mutex>

namespace VX_QRS {

class NativeMutex {
public:
    void enter() { mutex.lock(); }
    void leave() { mutex.unlock(); }

private:
    std::recursive_mutex mutex;
};

} // namespace VX_QRS
