#pragma once

#include "client/FrontEnd.h"
#include "client/FrontEndChannel.h"
#include "common/source/ChannelSettings.h"
#include "common/source/properties/AddedProperties.h"
#include "common/source/source_utilities/InputFile.h"
#include "common/source/source_utilities/uMutex.h"
#include "rcvr/framework/CChannelDriver.h"
#include "rcvr/framework/IXmtrLibrary.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Vx::Qrs::Trace::OrvRcvr {

class Receiver;
class TracePinMapper;

/// One CPU's trace: a thin and careful wrapper around one channel of the front end. It turns the framework's calls into
/// front end calls and exceptions into Error, and keeps the list of CPUs whose halt ends a recording.
///
/// Threads: as CChannelDriver says. The lock is held for the whole of SetConfiguration, so that GetChannelStatus and
/// GetAttribute wait for a calibration; GetProgress does not take it.
class ChannelDriver : public CChannelDriver {
public:
    /// State of OnTraceSystemStateChange: the trace job was modified, there is nothing to resume.
    static constexpr unsigned jobModifiedDisableResume = 0;

    /// Asks the target adapter for the CPU's class and allocates a channel. Nothing is owned but the channel; `receiver`
    /// and `frontEnd` have to outlive the driver. Throws Error, or cZarnError for a target adapter that fails.
    ChannelDriver(Receiver* receiver, VX_QRS::ORV::CLIENT::FrontEnd* frontEnd, const char* cpuName,
                  IXmtrLibrary* xmtrLibrary, unsigned xmtrChannel, unsigned xmtrCookie);
    ChannelDriver(const ChannelDriver&) = delete;
    ChannelDriver& operator=(const ChannelDriver&) = delete;
    ~ChannelDriver() override;

    void GetAttribute(const char* name, TraceAttribute* out) override;
    void GetProgress(unsigned* first, int* percent, std::string* text) override;
    /// An attribute's value as GetAttribute finds it, as the caller's own: it outlives the next question, and the value
    /// that GetAttribute returned last stays valid.
    std::string CopyOfAttribute(const char* name);

    bool GetUserConfiguration(const char* path) override;
    void SetConfiguration(const char* path) override;
    void StartRecording(bool flag) override;
    void StopRecording() override;
    void ResumeRecording() override;
    void SaveFile(std::string path, unsigned format) override;
    void LoadFile(const char* path) override;
    void SeekReadTraceData(unsigned startSample, unsigned numSamples, std::uint64_t* buffer,
                           unsigned* numRead) override;
    unsigned GetNumSamples() override;
    const char* CpuName() override;
    void GetChannelStatus(ChannelStatus* out) override;
    std::string NotImplementedText(unsigned number, std::uint64_t value) override;

    /// Acts on jobModifiedDisableResume only: the recording is ended and started anew. Failures from below pass.
    virtual void NotifySystemStateChange(unsigned state);
    /// 3 and 4 mean disconnected: recordings are refused and the status is not reported.
    virtual void SetTargetState(unsigned state);
    /// Signals the end of the trace to the transmitter. Failures from below pass.
    virtual void ApplyTraceEnd(bool flag);
    /// True with no CPU registered as well.
    virtual bool AreAllCpusHalted();
    virtual void RegisterCpuHalt(const char* cpuName, bool halted);
    virtual void UnregisterCPU(const char* cpuName);
    virtual VX_QRS::ORV::CLIENT::FrontEndChannel* GetFrontEndChannel();
    /// Writes the channel's section of the front end's properties file, for the first channel with a new global section
    /// before it, from a settings file and the properties that the user added, and takes the settings over. The caller holds the
    /// lock.
    virtual void ConvertXmlToFrontEndPropsFile(const char* xmlPath, const char* propsPath);

    /// The CPU's name as messages about pins give it: the part after the only "/", otherwise the whole name.
    const std::string& ShortCpuName() const { return shortCpuName; }
    const VX_QRS::ORV::CLIENT::ChannelSettings& Settings() const { return settings; }

private:
    using FrontEnd = VX_QRS::ORV::CLIENT::FrontEnd;
    using FrontEndChannel = VX_QRS::ORV::CLIENT::FrontEndChannel;
    using ChannelMetrics = VX_QRS::ORV::CLIENT::ChannelMetrics;
    using ChannelSettings = VX_QRS::ORV::CLIENT::ChannelSettings;
    using Property = VX_QRS::ORV::CLIENT::Property;

    struct CpuHaltEntry {
        std::string name;
        bool halted;
    };

    // ChannelDriver.cpp
    static std::string propertyText(Property& object, const char* name);

    // ChannelDriverControl.cpp
    bool isDisconnected() const;
    enum class StartState { Ready, Recording, Ending };
    StartState startState();
    template <class Start>
    StartState startIfReady(Start&& start);
    bool startUnlessEnding();
    void noteBufferSize() noexcept;
    void closeReadStream();

    // ChannelDriverConfiguration.cpp
    void refuseTooManyChannels();
    std::uint32_t channelIndex();
    std::string prepareChannelSection(const char* xmlPath, ChannelSettings& local,
                                      const std::vector<VX_QRS::ORV::CLIENT::AddedProperty>& added);
    void findPins(TracePinMapper& mapper, unsigned traceClass, ChannelSettings& local);
    void checkPins(TracePinMapper& mapper, const ChannelSettings& local);
    void writePropertiesFile(const char* propsPath, const std::string& channelSection);

    // ChannelDriverAttributes.cpp
    void lookUpAttribute(const char* name, TraceAttribute* out, std::string& text);
    void answerAttribute(const std::string& name, const ChannelMetrics& metrics, std::uint32_t& type,
                         std::string& text);
    bool answerFrequency(const std::string& name, const ChannelMetrics& metrics, std::string& text);
    bool answerList(const std::string& name, std::uint32_t& type, std::string& text);
    bool needsEtbDataFlip();

    // ChannelDriverData.cpp
    struct ReadResult {
        std::uint64_t available = 0; // samples in the file
        std::uint32_t count = 0;     // samples read
    };
    ReadResult readFromFile(std::uint32_t startSample, std::uint32_t numSamples, std::uint64_t* buffer);
    void readWhileUploading(std::uint32_t startSample, std::uint32_t numSamples, std::uint64_t* buffer,
                            unsigned* numRead);
    std::uint64_t waitForUpload();
    void refuseTarget(const std::string& path);
    void saveTraceDataFile(const std::string& path, std::uint64_t numSamples);
    void saveRaw(const std::string& path);
    template <class Sink>
    void saveSamples(Sink&& sink);

    // Written by the controlling thread, read by polls of the status.
    std::atomic<std::uint32_t> targetState{0};
    std::unique_ptr<VX_QRS::uMutex> lock;
    VX_QRS::uMutex startLock; // makes the query whether to start and the start one step; nests inside of `lock`
    Receiver* receiver;
    FrontEnd* frontEnd;
    FrontEndChannel* channel = nullptr; // released through the front end
    std::string cpuName;
    std::string shortCpuName;
    std::string attributeText; // what GetAttribute returned last
    std::string dataFilePath;  // the upload file, empty until configured
    std::vector<CpuHaltEntry> cpus;
    std::atomic<std::uint32_t> orvBufSizeBytes{0}; // what the unit records into, 0 until configured
    ChannelSettings settings;                      // the channel keeps a pointer to this member
    IXmtrLibrary* xmtrLibrary;
    std::uint32_t xmtrCookie;
    VX_QRS::InputFile readStream; // guarded by readLock, so that a start cannot close it under a read
    VX_QRS::uMutex readLock;
    std::uint32_t adapterKind = 0;
};

} // namespace Vx::Qrs::Trace::OrvRcvr
