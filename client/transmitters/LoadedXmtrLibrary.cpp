#include "client/transmitters/LoadedXmtrLibrary.h"

#include "client/transmitters/TransmitterBase_1.h"
#include "common/source/Exception.h"
#include "common/source/source_utilities/uLog.h"

#include <cstring>
#include <exception>

namespace VX_QRS::ORV::CLIENT {

namespace {

constexpr const char* xmtrLibraryName = "zarn_xmtr";
constexpr const char* adapterLibraryName = "HaloTargetAdapter";

void loadLibrary(uDll& dll, const char* name) {
    if (!dll.isLoaded() && !dll.FindAndLoad(name)) {
        fail(transmitterUnit, eXMTR, dll.GetLastErrorText());
    }
}

/// The exported function of that name; `lookupFailure` is what is thrown when there is none.
template <class Function>
Function symbol(uDll& dll, const char* name, const char* lookupFailure) {
    void* const address = dll.GetSymbol(name);
    if (address == nullptr) {
        fail(transmitterUnit, eXMTR, lookupFailure);
    }
    static_assert(sizeof(Function) == sizeof(address));
    Function function = nullptr;
    std::memcpy(&function, &address, sizeof(function));
    return function;
}

/// For the way down, where nothing may be thrown any more.
template <class Step>
void attempt(Step step) {
    try {
        step();
    } catch (const std::exception& e) {
        logError("%s : %s", "ORV Receiver", e.what());
    } catch (...) {
        logError("%s : unknown exception", "ORV Receiver");
    }
}

} // namespace

LoadedXmtrLibrary::~LoadedXmtrLibrary() {
    if (xmtr != nullptr) {
        attempt([this] { destroyXmtr(); });
    }
    if (adapter != nullptr) {
        attempt([this] { destroyAdapter(); });
    }
}

void LoadedXmtrLibrary::load(const std::string& cpuName) {
    createXmtr();
    createAdapter(cpuName);
}

void LoadedXmtrLibrary::createXmtr() {
    loadLibrary(xmtrDll, xmtrLibraryName);
    const auto create = symbol<CreateXmtrFunction>(xmtrDll, "CreateXmtr", "failed to look up CreateXmtr");
    xmtr = create(0, 0);
    if (xmtr == nullptr) {
        fail(transmitterUnit, eXMTR, "failed to create Transmitter");
    }
}

void LoadedXmtrLibrary::createAdapter(const std::string& cpuName) {
    loadLibrary(adapterDll, adapterLibraryName);
    const auto create =
        symbol<NewTargetAdapterFunction>(adapterDll, "NewTargetAdapter", "failed to look up NewTargetAdapter");
    create(cpuName.c_str(), &adapter);
    if (adapter == nullptr) {
        fail(transmitterUnit, eXMTR,
             "failed to create TargetAdapter : check that the debugger is running and connected to the correct tap");
    }
}

void LoadedXmtrLibrary::destroyXmtr() {
    const auto destroy = symbol<DestroyXmtrFunction>(xmtrDll, "DestroyXmtr", "failed to look up DestroyXmtr");
    destroy(xmtr);
    xmtr = nullptr;
    xmtrDll.Unload();
}

void LoadedXmtrLibrary::destroyAdapter() {
    const auto destroy =
        symbol<FreeTargetAdapterFunction>(adapterDll, "FreeTargetAdapter", "failed to look up dll FreeTargetAdapter");
    destroy(adapter);
    adapter = nullptr;
    adapterDll.Unload();
}

} // namespace VX_QRS::ORV::CLIENT
