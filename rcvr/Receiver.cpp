#include "rcvr/Receiver.h"

#include "common/source/source_utilities/uString.h"
#include "rcvr/ChannelDriver.h"
#include "rcvr/Guard.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace Vx::Qrs::Trace::OrvRcvr {

using VX_QRS::logEntry;
using VX_QRS::logMessage;
using VX_QRS::ORV::CLIENT::FrontEnd;

namespace {

const char* printable(const char* text) {
    return text != nullptr ? text : "(null)";
}

} // namespace

unsigned Receiver::GetNumAttachedCpus() {
    logEntry(receiverUnit, "Vx::Qrs::Trace::OrvRcvr::Receiver::GetNumAttachedCpus");
    const auto count = static_cast<unsigned>(drivers.size());
    logMessage("number of attached cpus is %d", static_cast<int>(count));
    return count;
}

void Receiver::GetAttachedCpuNames(char** names) {
    logEntry(receiverUnit, "Vx::Qrs::Trace::OrvRcvr::Receiver::GetAttachedCpuNames");
    if (names == nullptr) {
        return;
    }
    for (std::size_t i = 0; i < drivers.size(); ++i) {
        const char* name = drivers[i]->CpuName();
        if (names[i] != nullptr) {
            std::memcpy(names[i], name, std::strlen(name) + 1);
        }
        logMessage("cpuName[%d] is %s", static_cast<int>(i), name);
    }
}

CChannelDriver* Receiver::AllocateChannel(const char* cpuName, IXmtrLibrary* xmtrLibrary, unsigned xmtrChannel,
                                          unsigned xmtrCookie) {
    logEntry(receiverUnit, "Vx::Qrs::Trace::OrvRcvr::Receiver::AllocateChannel");
    const auto logFailure = [](const std::exception& exception) {
        VX_QRS::logErrorAt(2, "%s : %s std exception : %s", programLabel, "AllocateChannel", exception.what());
    };
    ChannelDriver* driver = nullptr;
    try {
        driver = new (std::nothrow) ChannelDriver(this, frontEnd, cpuName, xmtrLibrary, xmtrChannel, xmtrCookie);
    } catch (const std::exception& exception) {
        logFailure(exception);
        return nullptr;
    }
    if (driver == nullptr) {
        throwError(receiverUnit, eNoMemory);
    }
    try {
        drivers.push_back(driver);
    } catch (const std::exception& exception) {
        logFailure(exception);
    }
    return driver;
}

void Receiver::ReleaseChannel(CChannelDriver* driver) {
    logEntry(receiverUnit, "Vx::Qrs::Trace::OrvRcvr::Receiver::ReleaseChannel");
    if (driver == nullptr) {
        return;
    }
    // An unknown pointer may point anywhere: it is compared and never followed.
    const auto place = std::find(drivers.begin(), drivers.end(), driver);
    if (place == drivers.end()) {
        throwError(receiverUnit, eFailed, "failed to release unknown channel driver");
    }
    logMessage("cpu name is %s", (*place)->CpuName());
    drivers.erase(place);
    delete driver;
}

unsigned Receiver::GetNumChannels() {
    logEntry(receiverUnit, "Vx::Qrs::Trace::OrvRcvr::Receiver::GetNumChannels");
    return guarded("GetNumChannels", nullptr, [this] {
        const char* text = nullptr;
        frontEnd->getProperty("maxChnls", &text);
        return VX_QRS::uString::toNumber<unsigned>(text);
    });
}

void* Receiver::GetDataSourceForCpuName(const char* /*cpuName*/) {
    logEntry(receiverUnit, "Vx::Qrs::Trace::OrvRcvr::Receiver::GetDataSourceForCpuName");
    throwError(receiverUnit, eFailed, "cannot get data source");
}

CChannelDriver* Receiver::GetChannelDriverForCpuName(const char* cpuName) {
    logEntry(receiverUnit, "Vx::Qrs::Trace::OrvRcvr::Receiver::GetChannelDriverForCpuName");
    if (drivers.empty()) {
        return nullptr;
    }
    logMessage("channel driver %d goes with %s", 0, printable(cpuName));
    return drivers.front();
}

unsigned Receiver::GetNextAvailableChannelNum() {
    logEntry(receiverUnit, "Vx::Qrs::Trace::OrvRcvr::Receiver::GetNextAvailableChannelNum");
    const auto number = static_cast<unsigned>(drivers.size() + 1);
    logMessage("next available channel is %d", static_cast<int>(number));
    return number;
}

unsigned Receiver::GetTotalNumPins(const char* /*cpuName*/) {
    logEntry(receiverUnit, "Vx::Qrs::Trace::OrvRcvr::Receiver::GetTotalNumPins");
    return 0;
}

void Receiver::GetPinsForFunction(const char* /*function*/, unsigned* /*pins*/) {
    logEntry(receiverUnit, "Vx::Qrs::Trace::OrvRcvr::Receiver::GetPinsForFunction");
}

IFileDataSource* Receiver::GetFileDataSource() {
    return fileDataSource;
}

IPartIdentifier* Receiver::GetPartIdentifier() {
    return partIdentifier;
}

FrontEnd* Receiver::GetFrontEnd() {
    return frontEnd;
}

CChannelDriver* Receiver::ChannelDriverForCpu(const char* cpuName) {
    logEntry(receiverUnit, "Vx::Qrs::Trace::OrvRcvr::Receiver::ChannelDriverForCpu");
    return GetChannelDriverForCpuName(cpuName);
}

void Receiver::OnTargetStateChange(const char* cpuName, unsigned state) {
    logEntry(receiverUnit, "Vx::Qrs::Trace::OrvRcvr::Receiver::OnTargetStateChange");
    converted("OnTargetStateChange", [&] { followTarget(cpuName, state); });
}

void Receiver::followTarget(const char* cpuName, unsigned state) {
    if (cpuName == nullptr) {
        return;
    }
    // All drivers in the list are of this class.
    auto* driver = static_cast<ChannelDriver*>(ChannelDriverForCpu(cpuName));
    if (driver == nullptr) {
        return;
    }

    const bool follows = VX_QRS::uString::toBool(driver->CopyOfAttribute("targetSync"));
    driver->SetTargetState(state);
    ChannelStatus status; // stays at code 0 while the target is disconnected
    driver->GetChannelStatus(&status);
    const bool busy = status.code == ChannelStatus::eBusy;
    constexpr bool running = false;
    constexpr bool halted = true;
    constexpr bool noEffect = false;

    switch (state) {
    case eDisconnectedByUser:
    case eDisconnected:
        driver->UnregisterCPU(cpuName);
        break;
    case eRunning:
    case eRunningFree:
        driver->RegisterCpuHalt(cpuName, running);
        if (follows && !busy) {
            driver->StartRecording(noEffect);
        }
        return;
    case eHalted:
    case eHaltedByEvent:
        driver->RegisterCpuHalt(cpuName, halted);
        break;
    default:
        return;
    }
    // The last CPU that runs decides: the others' trace goes on until then.
    if (follows && busy && driver->AreAllCpusHalted()) {
        driver->StopRecording();
    }
}

void Receiver::OnTraceSystemStateChange(const char* cpuName, unsigned state) {
    try {
        logEntry(receiverUnit, "Vx::Qrs::Trace::OrvRcvr::Receiver::OnTraceSystemStateChange");
        if (state != ChannelDriver::jobModifiedDisableResume) {
            return;
        }
        if (auto* driver = static_cast<ChannelDriver*>(ChannelDriverForCpu(cpuName))) {
            driver->NotifySystemStateChange(state);
        }
    } catch (...) { // a notification has no way to fail
    }
}

} // namespace Vx::Qrs::Trace::OrvRcvr
