#include "common/source/source_utilities/uLog.h"
#include "rcvr/Error.h"
#include "rcvr/ProcessEnvironment.h"
#include "rcvr/Receiver.h"
#include "rcvr/framework/CReceiver.h"
#include "rcvr/framework/compiler/Compiler.h"

#include <cstdint>
#include <new>

// The only way into the library: one counted receiver per process. Callers keep to one thread.

namespace {

using namespace Vx::Qrs::Trace::OrvRcvr;
using Vx::Qrs::Trace::CReceiver;

std::int32_t g_refCnt = 0;
Receiver* g_receiver = nullptr;

void logCall(const char* function, const VX_QRS::SourceLocation& location = VX_QRS::SourceLocation::current()) {
    VX_QRS::logEntry(receiverUnit, function, location);
    VX_QRS::logMessage("on entry g_refCnt=%d", g_refCnt);
}

void deleteReceiver() {
    Receiver* receiver = g_receiver;
    g_receiver = nullptr;
    delete receiver;
}

void makeReceiver() {
    // After a teardown that failed the old object is still here, taken apart.
    deleteReceiver();
    try {
        g_receiver = new (std::nothrow) Receiver;
        if (g_receiver == nullptr) {
            throwError(receiverUnit, eNoMemory);
        }
    } catch (const Error&) {
        deleteReceiver();
        throw;
    } catch (const std::exception& exception) {
        deleteReceiver();
        throw Error(exception);
    } catch (...) {
        deleteReceiver();
        throwError(receiverUnit, eFailed, "unknown exception while creating receiver");
    }
}

} // namespace

extern "C" {

ORV_EXPORT CReceiver* CreateRcvr() {
    if (g_refCnt != 0) {
        logCall("CreateRcvr");
        ++g_refCnt;
        return g_receiver;
    }
    try {
        prepareProcessEnvironment();
    } catch (...) { // the receiver works without a log
    }
    logCall("CreateRcvr");
    makeReceiver();
    VX_QRS::logMessage("created");
    ++g_refCnt;
    return g_receiver;
}

ORV_EXPORT void DestroyRcvr(CReceiver* receiver) {
    try {
        logCall("DestroyRcvr");
        if (g_refCnt == 0 || receiver != g_receiver) {
            return;
        }
        if (--g_refCnt != 0) {
            return;
        }
        VX_QRS::logMessage("destroyed");
        g_receiver->TearDown();
        deleteReceiver();
    } catch (const Error&) { // was logged when it was made
    } catch (const std::exception& exception) {
        VX_QRS::logErrorAt(2, "%s", exception.what());
    } catch (...) {
        VX_QRS::logErrorAt(2, "unknown exception");
    }
}
}
