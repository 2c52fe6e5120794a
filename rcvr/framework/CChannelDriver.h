#pragma once

#include <cstdint>
#include <string>

// One CPU's trace channel, as the trace framework drives it.
//
// Order of use: CReceiver::AllocateChannel gives the object; SetConfiguration calibrates; then any number of
// StartRecording and StopRecording pairs, each followed by reading or saving; CReceiver::ReleaseChannel ends it.
// The object belongs to the receiver: never delete it.
//
// Errors: every operation may throw Vx::Qrs::Zarn::cZarnError (by value), whose text is meant for the user.
//
// Threads: one controlling thread calls SetConfiguration, StartRecording, StopRecording, reading and saving.
// GetChannelStatus and GetAttribute may be called from other threads, but wait while SetConfiguration runs.
// GetProgress never waits, so that it can follow a calibration from another thread.

namespace Vx::Qrs::Trace {

/// One attribute's value. The pointers stay valid until the next GetAttribute on the same driver.
struct TraceAttribute {
    enum Type : std::uint32_t {
        eBoolean = 0,    ///< "0" or "1"
        eInteger = 2,    ///< decimal digits
        eListText = 5,   ///< an entry of a list
        eNumberText = 6, ///< a number or a property in text form
    };
    const char* name = nullptr;
    std::uint32_t type = 0;
    const char* value = nullptr;
};

/// What a channel is doing and what it would accept next.
struct ChannelStatus {
    enum Code : std::uint32_t {
        eNone = 0,
        eNotCalibrated = 1,
        eBusy = 6, ///< recording, or uploading what was recorded
        eBufferFull = 8,
        eError = 10,
        eStoppedByUser = 11,
        eReady = 16,
    };
    std::uint32_t code = 0;
    std::string text; ///< for the user
    bool configurable = false;
    bool startable = false;
    bool resumable = false; ///< always false: this receiver cannot resume
    bool stoppable = false;
    bool hasData = false;
};

class TraceChannelAttributes {
public:
    virtual ~TraceChannelAttributes() = default;
    /// Answers one attribute. Names are the framework's own, trailing blanks included; any other name is asked of the
    /// channel's properties. Waits while SetConfiguration runs. Throws for a null or unknown name.
    virtual void GetAttribute(const char* name, TraceAttribute* out) = 0;
};

class CChannelDriverProgress {
public:
    virtual ~CChannelDriverProgress() = default;
    /// Follows a calibration. `*first` is always 1; `*percent` is -1 before a calibration, 0 to 100 after its start.
    /// Takes no lock: safe from any thread while SetConfiguration runs.
    virtual void GetProgress(unsigned* first, int* percent, std::string* text) = 0;
};

class CChannelDriver : public TraceChannelAttributes, public CChannelDriverProgress {
public:
    /// Kinds of output of SaveFile.
    enum SaveFormat : unsigned {
        eSaveTraceDataFile = 0,
        eSaveUncompressed = 1, ///< refused by this receiver
        eSaveRaw = 2,
        eSaveUncompressedText = 3, ///< refused by this receiver
    };

    /// Always false: the configuration's user interface is not this library's.
    virtual bool GetUserConfiguration(const char* path) = 0;

    /// Loads the channel settings file (a full path with at least one separator), connects to the capture unit and
    /// calibrates. Blocks until the calibration has ended, typically 0.5 to several seconds. A settings file that
    /// cannot be used is overwritten with defaults, which are then used. Failing leaves the channel uncalibrated, or
    /// calibrated as it was.
    virtual void SetConfiguration(const char* path) = 0;

    /// Starts a recording; the argument is not used. Refused before a successful SetConfiguration and while the target
    /// is disconnected. Returns once the capture unit records.
    virtual void StartRecording(bool flag) = 0;

    /// Asks the recording to stop and returns; the upload follows in the background (see GetChannelStatus).
    virtual void StopRecording() = 0;

    /// Refused: throws.
    virtual void ResumeRecording() = 0;

    /// Saves the recorded samples. Waits for an upload that is still going on. `format` is a SaveFormat; every number
    /// but 1, 2 and 3 adds a section to an existing trace data file. A raw file is replaced.
    virtual void SaveFile(std::string path, unsigned format) = 0;

    /// Refused: throws.
    virtual void LoadFile(const char* path) = 0;

    /// Reads samples of 8 bytes each. `buffer` holds at least `numSamples` (1 or more), `*numRead` tells how many
    /// came; fewer than asked at the end of the data is no error. Blocks while an upload is still bringing them.
    virtual void SeekReadTraceData(unsigned startSample, unsigned numSamples, std::uint64_t* buffer,
                                   unsigned* numRead) = 0;

    /// Samples recorded, those still in the capture unit included.
    virtual unsigned GetNumSamples() = 0;

    /// The name given to AllocateChannel.
    virtual const char* CpuName() = 0;

    /// State, rate and fill for the user and for menus. Leaves `*out` untouched while the target is disconnected.
    virtual void GetChannelStatus(ChannelStatus* out) = 0;

    /// "Not Implemented".
    virtual std::string NotImplementedText(unsigned number, std::uint64_t value) = 0;
};

} // namespace Vx::Qrs::Trace
