#pragma once

#include "client/FrontEnd.h"
#include "common/source/source_utilities/uDll.h"
#include "rcvr/framework/CReceiver.h"
#include "rcvr/framework/IFileReplay.h"
#include "rcvr/framework/IPartIdentifier.h"

#include <vector>

namespace Vx::Qrs::Trace::OrvRcvr {

class ChannelDriver;

/// The capture unit as a whole: owns the channels, one use of the front end and the sibling libraries, and makes
/// recording follow the target. No lock: its operations are not to be called concurrently.
class Receiver : public CReceiver {
public:
    /// Loads the sibling libraries and acquires the front end. The device identification is needed, file replay is not.
    Receiver();
    Receiver(const Receiver&) = delete;
    Receiver& operator=(const Receiver&) = delete;

    void OnTargetStateChange(const char* cpuName, unsigned state) override;
    void OnTraceSystemStateChange(const char* cpuName, unsigned state) override;
    /// TearDown without its failures.
    ~Receiver() override;

    unsigned GetNumAttachedCpus() override;
    void GetAttachedCpuNames(char** names) override;
    CChannelDriver* AllocateChannel(const char* cpuName, IXmtrLibrary* xmtrLibrary, unsigned xmtrChannel,
                                    unsigned xmtrCookie) override;
    void ReleaseChannel(CChannelDriver* driver) override;
    unsigned GetNumChannels() override;
    void* GetDataSourceForCpuName(const char* cpuName) override;
    CChannelDriver* GetChannelDriverForCpuName(const char* cpuName) override;
    unsigned GetNextAvailableChannelNum() override;
    unsigned GetTotalNumPins(const char* cpuName) override;
    void GetPinsForFunction(const char* function, unsigned* pins) override;
    IFileDataSource* GetFileDataSource() override;

    virtual IPartIdentifier* GetPartIdentifier();
    virtual VX_QRS::ORV::CLIENT::FrontEnd* GetFrontEnd();
    /// `*out` is the caller's, also when this throws because the library was not found.
    virtual void LoadSiblingLibrary(const char* name, VX_QRS::uDll** out);
    virtual void LoadPartIdentifierLibrary();
    virtual void LoadFileLibraries();
    virtual CChannelDriver* ChannelDriverForCpu(const char* cpuName);

    /// Deletes channels, front end, sibling objects and libraries, in this order and each at most once, however often it
    /// is called. All is gone when it returns or throws; it throws the first failure met.
    void TearDown();

private:
    void acquire();
    void makeFileDataSource();
    void followTarget(const char* cpuName, unsigned state);
    void destroyFileChannelDriver();

    CreatePartIdentifierFunction createPartIdentifier = nullptr;
    DestroyPartIdentifierFunction destroyPartIdentifier = nullptr;
    VX_QRS::ORV::CLIENT::FrontEnd* frontEnd = nullptr;
    IPartIdentifier* partIdentifier = nullptr;
    std::vector<ChannelDriver*> drivers;           // owned, in order of allocation
    VX_QRS::uDll* partIdentifierLibrary = nullptr; // owned, as are the next two
    VX_QRS::uDll* dataSourceLibrary = nullptr;
    VX_QRS::uDll* fileChannelDriverLibrary = nullptr;
    IFileDataSource* fileDataSource = nullptr;
    IFileChannelDriver* fileChannelDriver = nullptr;
    bool tornDown = false;
};

} // namespace Vx::Qrs::Trace::OrvRcvr
