#pragma once

#include "common/source/source_utilities/uDll.h"
#include "rcvr/framework/ITargetAdapter.h"
#include "rcvr/framework/IXmtrLibrary.h"

#include <string>

namespace VX_QRS::ORV::CLIENT {

/// An object of the transmitter library that nobody handed over, and the target adapter that keeps it in work.
/// Owns both and the two libraries that they come from. Failures are Exception, eXMTR.
class LoadedXmtrLibrary {
public:
    LoadedXmtrLibrary() = default;
    LoadedXmtrLibrary(const LoadedXmtrLibrary&) = delete;
    LoadedXmtrLibrary& operator=(const LoadedXmtrLibrary&) = delete;
    /// Gives back what is held. What cannot be given back is logged and left.
    ~LoadedXmtrLibrary();

    /// Loads both libraries and makes both objects; on a failure what was made is given back.
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
