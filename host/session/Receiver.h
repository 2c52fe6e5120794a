#pragma once

#include "host/platform/Platform.h"
#include "rcvr/framework/CChannelDriver.h"
#include "rcvr/framework/CReceiver.h"
#include "rcvr/framework/IXmtrLibrary.h"
#include "rcvr/framework/cZarnError.h"
#include "toolkit/ExitCode.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace host {

/// Calls into the receiver and turns its exceptions into a Failure of the given code.
void guarded(toolkit::ExitCode code, const std::function<void()>& work);

/// The same for writing an output; the Failure (OutputUnwritable) names the file.
void guardedOutput(const std::filesystem::path& file, const std::function<void()>& work);

/// Returns the transmitter object that the receiver is given in place of a library's own, which it calls.
using XmtrWrapper = std::function<Vx::Qrs::Trace::IXmtrLibrary*(Vx::Qrs::Trace::IXmtrLibrary&)>;

/// The receiver library with one channel, as a framework holds it. Released in order by the destructor.
/// Failures are Failure objects: NoSystem for a part that is missing or does not answer.
class Receiver {
public:
    /// `library` is a name, found in this program's folder, or a path.
    explicit Receiver(const std::string& library);
    ~Receiver();
    Receiver(const Receiver&) = delete;
    Receiver& operator=(const Receiver&) = delete;

    /// Makes the channel, with a transmitter object of the library zarn_xmtr in the receiver's folder, or with what
    /// `wrap` makes of it, which has to live as long as this object.
    void allocate(const std::string& cpu, const XmtrWrapper& wrap = {});
    Vx::Qrs::Trace::CChannelDriver& channel() { return *driver; }

    /// An attribute of the channel, empty when it has none of that name.
    std::string attribute(const std::string& name);

private:
    void releaseQuietly();

    std::filesystem::path folder;
    std::unique_ptr<LoadedLibrary> receiverLibrary;
    std::unique_ptr<LoadedLibrary> xmtrLibrary;
    Vx::Qrs::Trace::CReceiver* receiver = nullptr;
    Vx::Qrs::Trace::IXmtrLibrary* xmtr = nullptr;
    Vx::Qrs::Trace::CChannelDriver* driver = nullptr;
};

/// NoSystem if the receiver's text is about the data server or a library, otherwise `code`.
toolkit::ExitCode classify(const std::string& errorText, toolkit::ExitCode code);

} // namespace host
