// The smallest complete host: calibrate, record two seconds or until the buffer is full, save. Add what your host needs
// (a choice of CPUs, a window, a polling thread); keep this order of calls.
//
//   small_host FOLDER CPU SETTINGS OUTPUT
//
// FOLDER   folder of the receiver, its sibling libraries and the data server
// CPU      the target's name in the device data base, for example bench/app
// SETTINGS the channel settings file; created with defaults when it does not exist
// OUTPUT   the samples as recorded, 8 bytes each

#include "Library.h"
#include "rcvr/framework/CChannelDriver.h"
#include "rcvr/framework/CReceiver.h"
#include "rcvr/framework/IXmtrLibrary.h"
#include "rcvr/framework/cZarnError.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>

using namespace Vx::Qrs::Trace;

namespace {

std::string statusText(CChannelDriver& channel, bool& mayStop) {
    ChannelStatus status;
    channel.GetChannelStatus(&status);
    mayStop = status.stoppable;
    return status.text;
}

void pause() {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

void record(CChannelDriver& channel, const std::string& settings, const std::string& output) {
    // Blocks until the pins are calibrated and verified, or throws with the reason.
    channel.SetConfiguration(settings.c_str());

    channel.StartRecording(false);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    bool recording = true;
    while (recording && std::chrono::steady_clock::now() < end) {
        statusText(channel, recording);
        pause();
    }
    if (recording) {
        channel.StopRecording();
    }
    // The samples leave the capture unit after the recording.
    std::string text;
    while ((text = statusText(channel, recording)).find("upload complete") == std::string::npos) {
        pause();
    }
    std::printf("%s, %u samples\n", text.c_str(), channel.GetNumSamples());

    std::uint64_t first[4] = {};
    unsigned read = 0;
    channel.SeekReadTraceData(0, 4, first, &read);
    for (unsigned i = 0; i < read; ++i) {
        std::printf("  sample %u: %016llx\n", i, static_cast<unsigned long long>(first[i]));
    }

    channel.SaveFile(output, CChannelDriver::eSaveRaw);
    std::printf("saved as %s\n", output.c_str());
}

void run(const std::string& folder, const char* cpu, const std::string& settings, const std::string& output) {
    // The data server is started by its bare file name from this folder.
    setEnvironment("COMMON_HELIX", folder);

    // The libraries outlive all their objects.
    const Library receiverLibrary(folder, "OrvRcvr");
    const Library xmtrLibrary(folder, "zarn_xmtr");
    const auto destroyXmtr = xmtrLibrary.function<DestroyXmtrFunction>("DestroyXmtr");
    const auto destroyRcvr = receiverLibrary.function<DestroyRcvrFunction>("DestroyRcvr");

    IXmtrLibrary* xmtr = xmtrLibrary.function<CreateXmtrFunction>("CreateXmtr")(0, 0);
    CReceiver* receiver = nullptr;
    std::string failure;
    try {
        receiver = receiverLibrary.function<CreateRcvrFunction>("CreateRcvr")();
        CChannelDriver* channel = receiver->AllocateChannel(cpu, xmtr, 0, 0);
        if (channel == nullptr) {
            throw std::runtime_error(std::string("the receiver returned no channel for ") + cpu);
        }
        record(*channel, settings, output);
        receiver->ReleaseChannel(channel);
    } catch (const Vx::Qrs::Zarn::cZarnErrorIF& error) { // does not derive from std::exception
        // The object's code is in the receiver's library: copy the text before it is unloaded.
        failure = error.GetErrorText();
    } catch (const std::exception& error) {
        failure = error.what();
    }
    // Ends a remaining channel and the receiver, then the objects that they used.
    if (receiver != nullptr) {
        destroyRcvr(receiver);
    }
    destroyXmtr(xmtr);
    if (!failure.empty()) {
        throw std::runtime_error(failure);
    }
}

} // namespace

int main(int count, char** arguments) {
    if (count != 5) {
        std::fprintf(stderr, "usage: small_host FOLDER CPU SETTINGS OUTPUT\n");
        return 2;
    }
    try {
        const auto absolute = [](const char* path) {
            return std::filesystem::absolute(path).make_preferred().string();
        };
        run(absolute(arguments[1]), arguments[2], absolute(arguments[3]), absolute(arguments[4]));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "small_host: %s\n", error.what());
        return 1;
    }
    return 0;
}
