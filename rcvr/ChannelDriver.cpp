#include "rcvr/ChannelDriver.h"

#include "common/source/source_utilities/uString.h"
#include "rcvr/Guard.h"
#include "rcvr/Receiver.h"
#include "rcvr/TargetAdapter.h"

#include <new>

// Construction, destruction and the CPU list.

namespace Vx::Qrs::Trace::OrvRcvr {

using VX_QRS::logEntry;
using VX_QRS::logMessage;

namespace {

std::string shortNameOf(const std::string& cpuName) {
    std::vector<std::string> parts;
    VX_QRS::uString::split(parts, cpuName, "/");
    return parts.size() == 2 ? parts[1] : cpuName;
}

} // namespace

ChannelDriver::ChannelDriver(Receiver* owner, FrontEnd* unit, const char* name, IXmtrLibrary* library,
                             unsigned xmtrChannel, unsigned cookie)
    : receiver(owner), frontEnd(unit), xmtrLibrary(library), xmtrCookie(cookie) {
    logEntry(channelDriverUnit, "Vx::Qrs::Trace::OrvRcvr::ChannelDriver::ChannelDriver");
    if (receiver == nullptr || frontEnd == nullptr || name == nullptr) {
        throwError(channelDriverUnit, eNullParameter);
    }
    cpuName = name;
    shortCpuName = shortNameOf(cpuName);
    adapterKind = queryAdapterKind(name);
    try {
        lock = std::make_unique<VX_QRS::uMutex>();
    } catch (const std::bad_alloc&) {
        throwError(channelDriverUnit, eNoMemory);
    }
    guarded("ChannelDriver", nullptr, [&] {
        channel = frontEnd->alloc(cpuName.c_str(), xmtrLibrary, xmtrChannel, xmtrCookie, adapterKind, &settings);
    });
    if (channel == nullptr) {
        throwError(channelDriverUnit, eNoMemory);
    }
    logStep("ChannelDriver", "success");
}

ChannelDriver::~ChannelDriver() {
    try {
        logEntry(channelDriverUnit, "Vx::Qrs::Trace::OrvRcvr::ChannelDriver::~ChannelDriver");
        closeReadStream();
        frontEnd->release(channel);
    } catch (...) { // the members go in any case
    }
}

std::string ChannelDriver::propertyText(Property& object, const char* name) {
    const char* value = nullptr;
    object.getProperty(name, &value);
    return value != nullptr ? value : "";
}

bool ChannelDriver::AreAllCpusHalted() {
    logEntry(channelDriverUnit, "Vx::Qrs::Trace::OrvRcvr::ChannelDriver::AreAllCpusHalted");
    for (const CpuHaltEntry& cpu : cpus) {
        if (!cpu.halted) {
            return false;
        }
    }
    return true;
}

void ChannelDriver::RegisterCpuHalt(const char* name, bool halted) {
    logEntry(channelDriverUnit, "Vx::Qrs::Trace::OrvRcvr::ChannelDriver::RegisterCpuHalt");
    if (name == nullptr) {
        throwError(channelDriverUnit, eNullParameter);
    }
    for (CpuHaltEntry& cpu : cpus) {
        if (cpu.name == name) {
            cpu.halted = halted;
            logMessage("%s : %s modified halt state for %s to %d", programLabel, "RegisterCpuHalt", name, halted);
            return;
        }
    }
    cpus.push_back({name, halted});
    logMessage("%s : %s registered for %s for halt state %d", programLabel, "RegisterCpuHalt", name, halted);
}

void ChannelDriver::UnregisterCPU(const char* name) {
    logEntry(channelDriverUnit, "Vx::Qrs::Trace::OrvRcvr::ChannelDriver::UnregisterCPU");
    if (name == nullptr) {
        throwError(channelDriverUnit, eNullParameter);
    }
    for (auto cpu = cpus.begin(); cpu != cpus.end(); ++cpu) {
        if (cpu->name == name) {
            cpus.erase(cpu);
            logMessage("%s : %s unregistered %s ", programLabel, "UnregisterCPU", name);
            return;
        }
    }
}

const char* ChannelDriver::CpuName() {
    logEntry(channelDriverUnit, "Vx::Qrs::Trace::OrvRcvr::ChannelDriver::CpuName");
    return cpuName.c_str();
}

VX_QRS::ORV::CLIENT::FrontEndChannel* ChannelDriver::GetFrontEndChannel() {
    logEntry(channelDriverUnit, "Vx::Qrs::Trace::OrvRcvr::ChannelDriver::GetFrontEndChannel");
    return channel;
}

bool ChannelDriver::GetUserConfiguration(const char* /*path*/) {
    logEntry(channelDriverUnit, "Vx::Qrs::Trace::OrvRcvr::ChannelDriver::GetUserConfiguration");
    return false;
}

std::string ChannelDriver::NotImplementedText(unsigned /*number*/, std::uint64_t /*value*/) {
    logEntry(channelDriverUnit, "Vx::Qrs::Trace::OrvRcvr::ChannelDriver::NotImplementedText");
    return "Not Implemented";
}

} // namespace Vx::Qrs::Trace::OrvRcvr
