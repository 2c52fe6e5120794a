#include "rcvr/TargetAdapter.h"

#include "common/source/source_utilities/uDll.h"
#include "common/source/source_utilities/uLog.h"
#include "pinmap/SiblingCall.h"
#include "rcvr/Error.h"
#include "rcvr/framework/ITargetAdapter.h"

namespace Vx::Qrs::Trace::OrvRcvr {

using VX_QRS::uDll;

namespace {

constexpr const char* libraryName = "HaloTargetAdapter";

[[noreturn]] void failWith(const char* text) {
    throw Zarn::cZarnError(text, Zarn::eSeverityError);
}

[[noreturn]] void logAndFail(const char* text) {
    VX_QRS::logError("%s: %s", programLabel, text);
    failWith(text);
}

void freeAdapter(uDll& library, ITargetAdapter* adapter) {
    if (adapter == nullptr) {
        failWith("Internal error. Invalid storage for TargetAdapter");
    }
    const auto free = reinterpret_cast<FreeTargetAdapterFunction>(library.GetSymbol("FreeTargetAdapter"));
    if (free == nullptr) {
        failWith("Internal error. Failed to look up FreeTargetAdapter symbol.");
    }
    callSibling([&] { free(adapter); });
}

} // namespace

std::uint32_t queryAdapterKind(const char* cpuName) {
    VX_QRS::logMessageAt(2, "%s: Initializing Channel Driver...", programLabel);
    VX_QRS::logMessageAt(2, "%s: loading DLL %s.", programLabel, libraryName);
    uDll library;
    if (!library.FindAndLoad(libraryName, -1)) {
        logAndFail("Cannot load target adapter library. Bad installation.");
    }
    VX_QRS::logMessage("%s: Target adapter DLL loaded.", programLabel);

    const auto create = reinterpret_cast<NewTargetAdapterFunction>(library.GetSymbol("NewTargetAdapter"));
    if (create == nullptr) {
        logAndFail("Cannot get target adapter factory. Bad installation.");
    }
    VX_QRS::logMessage("%s: Creating target adapter for %s.", programLabel, cpuName);
    ITargetAdapter* adapter = nullptr;
    callSibling([&] { create(cpuName, &adapter); });

    ICpuInfo* info = nullptr;
    std::uint32_t id = 0;
    if (adapter != nullptr) {
        try {
            callSibling([&] {
                info = adapter->getCpuInfo();
                if (info != nullptr) {
                    id = info->getCpuId();
                }
            });
        } catch (...) {
            freeAdapter(library, adapter);
            throw;
        }
    }
    if (info == nullptr) {
        constexpr const char* text = "Internal error.  Failed to return CPU info from target adapter.";
        VX_QRS::logError("%s: %s", programLabel, text);
        freeAdapter(library, adapter);
        failWith(text);
    }
    freeAdapter(library, adapter);
    return adapterKindOf(id);
}

} // namespace Vx::Qrs::Trace::OrvRcvr
