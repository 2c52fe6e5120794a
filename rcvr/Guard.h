#pragma once

#include "common/source/source_utilities/uLog.h"
#include "common/source/source_utilities/uMutex.h"
#include "rcvr/Error.h"

#include <exception>
#include <utility>

// The framework's boundary: failures from below are logged and thrown as Error.

namespace Vx::Qrs::Trace::OrvRcvr {

inline void logStandardAsError(const char* label, const std::exception& exception) {
    VX_QRS::logError("%s : %s std exception : %s", programLabel, label, exception.what());
}

inline void logStandardAsWarning(const char* label, const std::exception& exception) {
    VX_QRS::logWarning("%s : %s std exception : %s", programLabel, label, exception.what());
}

/// Logs a step of an operation, or its "success".
inline void logStep(const char* label, const char* step) {
    VX_QRS::logMessage("%s : %s %s", programLabel, label, step);
}

/// Runs `body`, under `mutex` unless that is null, and hands its result on. A std::exception is logged and thrown on as
/// Error(e); anything else is logged as unknown and thrown on as it is. The mutex is free when either leaves.
template <class Body>
auto guarded(const char* label, VX_QRS::uMutex* mutex, Body&& body,
             void (*logStandard)(const char*, const std::exception&) = logStandardAsError) {
    class Holder {
    public:
        explicit Holder(VX_QRS::uMutex* held) : mutex(held) {
            if (mutex != nullptr) {
                mutex->lock();
            }
        }
        Holder(const Holder&) = delete;
        Holder& operator=(const Holder&) = delete;
        ~Holder() { release(); }
        void release() {
            if (mutex != nullptr) {
                mutex->unlock();
            }
            mutex = nullptr;
        }

    private:
        VX_QRS::uMutex* mutex;
    };

    Holder holder(mutex);
    try {
        return std::forward<Body>(body)();
    } catch (const std::exception& exception) {
        logStandard(label, exception);
        holder.release();
        throw Error(exception);
    } catch (...) {
        VX_QRS::logError("%s : %s unknown exception", programLabel, label);
        holder.release();
        throw;
    }
}

/// Runs `body` and returns its result. A std::exception is logged and leaves as Error(e); anything else passes unlogged.
template <class Body>
auto converted(const char* label, Body&& body) {
    try {
        return std::forward<Body>(body)();
    } catch (const std::exception& exception) {
        logStandardAsError(label, exception);
        throw Error(exception);
    }
}

} // namespace Vx::Qrs::Trace::OrvRcvr
