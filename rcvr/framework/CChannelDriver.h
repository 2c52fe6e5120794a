#pragma once

#include <cstdint>
#include <string>

// One CPU's trace channel, as the trace framework drives it.
//
// Order of use: CReceiver::AllocateChannel returns the object; SetConfiguration calibrates; then any number of
// StartRecording and StopRecording pairs, each followed by reading or saving; CReceiver::ReleaseChannel ends it. The
// object belongs to the receiver: never delete it.
//
// Errors: every operation may throw Vx::Qrs::Zarn::cZarnError (by value), whose text is meant for the user. A null out
// pointer is "null parameter". This also holds when the process is out of memory.
//
// Threads: one controlling thread calls SetConfiguration, StartRecording, StopRecording, reading and saving.
// GetChannelStatus and GetAttribute may be called from other threads, but wait while SetConfiguration, StartRecording
// or StopRecording are at work. GetNumSamples may be called from any thread. GetProgress never waits for a calibration,
// so that it can follow one from another thread. No call may be running when the channel is released.
//
// While a recording runs, every question after the state (GetChannelStatus, GetProgress, GetNumSamples, GetAttribute,
// SeekReadTraceData) asks the transmitter library for the target's trace status, on the calling thread; it takes as
// long as that, and throws when it fails.

namespace Vx::Qrs::Trace {

/// One attribute's value. `name` is the pointer that was asked with; `value` is never null and stays valid until the
/// next GetAttribute on the same driver, from any thread.
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
    std::string text; ///< for the user: state, rate and fill or upload, error
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
    /// Follows a calibration. `*first` is always 1; `*percent` is -1 before a calibration, 0 to 100 after its start;
    /// `*text` begins with "Kite R2 Trace - ". Safe from any thread while SetConfiguration runs, and then returns at
    /// once.
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
    /// calibrates. Blocks until the calibration has ended: some tenths of a second as a rule, several seconds where many
    /// frequency settings are tried. A settings file that cannot be used is overwritten with defaults, which are then
    /// used. Failing leaves the channel uncalibrated, or in the state that it had: it then still starts, but with what
    /// the refused attempt left in the unit (buffer size, pins, delays), and its samples are not to be trusted. Record
    /// nothing before a SetConfiguration has succeeded. Refused, for exports other than "pti", while a CPU of the channel runs. Samples of an
    /// earlier recording are gone, and an upload that goes on is broken off. While a recording runs this throws, too,
    /// but its samples are lost all the same: stop it first. StopRecording brings the channel out of that.
    virtual void SetConfiguration(const char* path) = 0;

    /// Starts a recording; the argument is not used. Refused before a successful SetConfiguration and while the target
    /// is disconnected; ignored while a recording runs. Blocks while an earlier upload goes on, and returns once the
    /// capture unit records. The earlier recording's samples are gone. Where it throws after the unit was asked to
    /// record, the state stays at recording: StopRecording brings the channel out.
    virtual void StartRecording(bool flag) = 0;

    /// Asks the recording to stop and returns, within some milliseconds; the upload follows in the background (see
    /// GetChannelStatus). Does nothing when none runs; refused while the target is disconnected.
    virtual void StopRecording() = 0;

    /// Refused: throws.
    virtual void ResumeRecording() = 0;

    /// Saves the recorded samples. Waits first, without a limit, until all of them have come: until a running recording
    /// was stopped, and until the upload has ended. A target that cannot be opened is refused before that wait. `format`
    /// is a SaveFormat; every number but 1, 2 and 3 adds a section to an existing trace data file, and is refused with
    /// the file unchanged where that would become longer than 4 GiB. A raw file is replaced. Blocks as long as waiting,
    /// reading and writing take. A failure, such as a full disk, leaves what was written. Fewer samples than were
    /// announced, as after a full disk during the upload, are only reported in the log.
    virtual void SaveFile(std::string path, unsigned format) = 0;

    /// Refused: throws.
    virtual void LoadFile(const char* path) = 0;

    /// Reads samples of 8 bytes each. `buffer` holds at least `numSamples` (1 or more), `*numRead` becomes the number read;
    /// fewer than asked at the end of the data is no error. Sample n is bytes 8n to 8n + 7 of the recording, the first
    /// the lowest. Blocks until the samples are there or the upload has ended: during a recording that is until it was
    /// stopped. Where nothing more comes although the upload has not ended, 1 second.
    virtual void SeekReadTraceData(unsigned startSample, unsigned numSamples, std::uint64_t* buffer,
                                   unsigned* numRead) = 0;

    /// Samples recorded, those still in the capture unit included; a part of one counts as one. Between a calibration
    /// and a recording it counts those of the verification: check ChannelStatus::hasData first.
    virtual unsigned GetNumSamples() = 0;

    /// The name given to AllocateChannel; valid as long as the channel.
    virtual const char* CpuName() = 0;

    /// State, rate and fill for the user and for menus. Leaves `*out` untouched while the target is disconnected.
    /// After a recording the text ends in " : upload complete", and then the error if there was one, once all samples
    /// have come.
    virtual void GetChannelStatus(ChannelStatus* out) = 0;

    /// "Not Implemented".
    virtual std::string NotImplementedText(unsigned number, std::uint64_t value) = 0;
};

} // namespace Vx::Qrs::Trace
