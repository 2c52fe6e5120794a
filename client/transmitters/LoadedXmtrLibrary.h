#pragma once

#include "common/source/source_utilities/uDll.h"
#include "rcvr/framework/ITargetAdapter.h"
#include "rcvr/framework/IXmtrLibrary.h"

#include <string>

namespace VX_QRS::ORV::CLIENT {

/// A transmitter library object for a channel that was given none, and the target adapter that keeps it working.
/// Owns both and the two libraries that they come from. Failures are Exception, eXMTR.
class LoadedXmtrLibrary {
public:
    LoadedXmtrLibrary() = default;
    LoadedXmtrLibrary(const LoadedXmtrLibrary&) = delete;
    LoadedXmtrLibrary& operator=(const LoadedXmtrLibrary&) = delete;
    /// Releases both objects. A failure to release is logged.
    ~LoadedXmtrLibrary();

    /// Loads both libraries and makes both objects; releases them again on failure.
    void load(const std::string& cpuName);

    /// Null until loaded.
    Vx::Qrs::Trace::IXmtrLibrary* library() const { return xmtr; }

private:
    void createXmtr();
    void createAdapter(const std::string& cpuName);
    void destroyXmtr();
    void destroyAdapter();

    uDll xmtrDll;
    uDll adapterDll;
    Vx::Qrs::Trace::IXmtrLibrary* xmtr = nullptr;
    Vx::Qrs::Trace::ITargetAdapter* adapter = nullptr; // only held
};

} // namespace VX_QRS::ORV::CLIENT
