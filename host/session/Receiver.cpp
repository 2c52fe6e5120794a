#include "host/session/Receiver.h"

#include "toolkit/FilePath.h"
#include "toolkit/Masked.h"

#include <array>

namespace host {

using namespace Vx::Qrs::Trace;
using Vx::Qrs::Zarn::cZarnErrorIF;

namespace {

// Texts of the receiver about faults of a process or library around it.
constexpr std::array systemTexts{"data server failure",
                                 "dll load failure",
                                 "disconnected from server",
                                 "failed to write to server",
                                 "failed to start server",
                                 "failed to connect to server",
                                 "ecom version mismatch",
                                 "failed to create io",
                                 "internal rsp",
                                 "invalid rsp",
                                 "invald rsp",
                                 "Cannot load target adapter",
                                 "Cannot get target adapter"};

constexpr unsigned xmtrChannel = 0;
constexpr unsigned xmtrCookie = 0;

} // namespace

toolkit::ExitCode classify(const std::string& errorText, toolkit::ExitCode code) {
    for (const char* text : systemTexts) {
        if (errorText.find(text) != std::string::npos) {
            return toolkit::ExitCode::NoSystem;
        }
    }
    return code;
}

void guarded(toolkit::ExitCode code, const std::function<void()>& work) {
    try {
        work();
    } catch (const cZarnErrorIF& error) {
        const char* where = error.GetDetailedText();
        const std::string text = error.GetErrorText();
        throw toolkit::Failure(classify(text, code), text, where != nullptr ? where : "");
    } catch (const toolkit::Failure&) {
        throw;
    } catch (const std::exception& error) {
        throw toolkit::Failure(classify(error.what(), code), error.what());
    }
}

void guardedOutput(const std::filesystem::path& file, const std::function<void()>& work) {
    try {
        guarded(toolkit::ExitCode::OutputUnwritable, work);
    } catch (const toolkit::Failure& failure) {
        if (failure.code != toolkit::ExitCode::OutputUnwritable) {
            throw;
        }
        std::string text = failure.what();
        if (text.ends_with('.')) {
            text.pop_back();
        }
        throw toolkit::Failure(failure.code, file.string() + " cannot be written: " + text + "; is its disk full?",
                               failure.where);
    }
}

Receiver::Receiver(const std::string& library) {
    std::filesystem::path file = toolkit::filePath(library);
    if (!file.has_parent_path()) {
        file = programFolder() / toolkit::filePath(libraryFileName(library));
    }
    folder = std::filesystem::absolute(file).parent_path();
    receiverLibrary = std::make_unique<LoadedLibrary>(std::filesystem::absolute(file));
    const auto createRcvr = receiverLibrary->symbol<CreateRcvrFunction>("CreateRcvr");
    guarded(toolkit::ExitCode::NoSystem, [&] { receiver = createRcvr(); });
}

Receiver::~Receiver() {
    releaseQuietly();
    if (receiver != nullptr) {
        receiverLibrary->symbol<DestroyRcvrFunction>("DestroyRcvr")(receiver);
    }
    if (xmtr != nullptr) {
        xmtrLibrary->symbol<DestroyXmtrFunction>("DestroyXmtr")(xmtr);
    }
}

void Receiver::releaseQuietly() {
    if (driver == nullptr) {
        return;
    }
    try {
        guarded(toolkit::ExitCode::Failed, [&] { receiver->ReleaseChannel(driver); });
    } catch (const toolkit::Failure& failure) {
        toolkit::printNotice(std::string("releasing the channel: ") + failure.what());
    }
    driver = nullptr;
}

void Receiver::allocate(const std::string& cpu, const XmtrWrapper& wrap) {
    xmtrLibrary = std::make_unique<LoadedLibrary>(folder / toolkit::filePath(libraryFileName("zarn_xmtr")));
    xmtr = xmtrLibrary->symbol<CreateXmtrFunction>("CreateXmtr")(0, 0);
    if (xmtr == nullptr) {
        throw toolkit::Failure(toolkit::ExitCode::NoSystem, "the transmitter library zarn_xmtr gives no transmitter");
    }
    IXmtrLibrary* const given = wrap ? wrap(*xmtr) : xmtr;
    guarded(toolkit::ExitCode::NoSystem,
            [&] { driver = receiver->AllocateChannel(cpu.c_str(), given, xmtrChannel, xmtrCookie); });
    if (driver == nullptr) {
        throw toolkit::Failure(toolkit::ExitCode::NoSystem,
                               "the receiver gives no channel for " + cpu + "; see its log");
    }
}

std::string Receiver::attribute(const std::string& name) {
    TraceAttribute answer;
    try {
        driver->GetAttribute(name.c_str(), &answer);
    } catch (const cZarnErrorIF&) {
        return {};
    } catch (const std::exception&) {
        return {};
    }
    return answer.value != nullptr ? answer.value : "";
}

} // namespace host
