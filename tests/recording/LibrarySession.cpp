#include "tests/recording/LibrarySession.h"

#include "common/source/source_utilities/uEnvironment.h"
#include "rcvr/framework/cZarnError.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace recording_test {

using namespace Vx::Qrs::Trace;

namespace {

constexpr const char* cpu = "bench/app";

} // namespace

LibrarySession::LibrarySession(const Target& chosen) : bench(chosen), target(chosen) {
    if (!library.FindAndLoad("OrvRcvr")) {
        throw std::runtime_error(library.GetLastErrorText());
    }
    std::string error;
    untilServerListens(
        [&] { error = errorOf([&] { receiver = symbol<CreateRcvrFunction>(library, "CreateRcvr")(); }); },
        [&] { return error.find("failed to connect to data server") != std::string::npos; });
    if (receiver == nullptr) {
        throw std::runtime_error(error);
    }
    channel = receiver->AllocateChannel(cpu, xmtr.object, 0, 0);
    if (channel == nullptr) {
        throw std::runtime_error("the receiver returned no channel");
    }
}

LibrarySession::~LibrarySession() {
    if (channel != nullptr) {
        receiver->ReleaseChannel(channel);
    }
    if (receiver != nullptr) {
        symbol<DestroyRcvrFunction>(library, "DestroyRcvr")(receiver);
    }
}

void LibrarySession::configure(unsigned buffer, WhenFull action) {
    const std::string settings = bench.folder.file("trace.xml");
    test_support::writeText(settings, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<CHANNEL-SETUP>\n"
                                      "\t<no_emu0>false</no_emu0>\n\t<drm_type></drm_type>\n\t<drm_key></drm_key>\n"
                                      "\t<num_pins>" +
                                          std::to_string(target.pins) +
                                          "</num_pins>\n\t<pin_map></pin_map>\n\t<is_stop_on_full>" +
                                          (action == WhenFull::Stop ? "true" : "false") +
                                          "</is_stop_on_full>\n\t<is_sync>false</is_sync>\n\t<bufsize_current>" +
                                          std::to_string(buffer) + "</bufsize_current>\n\t<drm_xmtr>" + target.kind +
                                          "</drm_xmtr>\n\t<start_port>0</start_port>\n</CHANNEL-SETUP>\n");
    const std::string error = errorOf([&] { channel->SetConfiguration(settings.c_str()); });
    if (!error.empty()) {
        throw std::runtime_error(error);
    }
}

void LibrarySession::start() {
    const std::string error = errorOf([&] { channel->StartRecording(false); });
    if (!error.empty()) {
        throw std::runtime_error(error);
    }
}

void LibrarySession::stop() {
    channel->StopRecording();
}

void LibrarySession::waitForBytes(std::uint32_t bytes) {
    EXPECT_TRUE(waitUntil([&] { return channel->GetNumSamples() * 8 >= bytes; }));
}

std::string LibrarySession::finish() {
    EXPECT_TRUE(waitUntil([&] { return status().text.find("upload complete") != std::string::npos; })) << status().text;
    return status().text;
}

ChannelStatus LibrarySession::status() {
    ChannelStatus now;
    const std::string error = errorOf([&] { channel->GetChannelStatus(&now); });
    if (!error.empty()) {
        now.text = error;
    }
    return now;
}

std::string LibrarySession::attribute(const char* name) {
    TraceAttribute answer;
    channel->GetAttribute(name, &answer);
    return answer.value;
}

std::string LibrarySession::errorOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const Vx::Qrs::Zarn::cZarnErrorIF& error) {
        return error.GetErrorText();
    }
    return {};
}

std::string LibrarySession::stem() const {
    return (std::filesystem::path(VX_QRS::uEnvironment::get("VX_TRACE_DATA_DIR")) / "trace").string();
}

std::string LibrarySession::differenceFromSent(Compare length) const {
    const auto contents = lastContents(bench.benchFolder());
    if (!contents) {
        return "the bench knows of no recording";
    }
    const Sent sent{target.play.empty() ? generated() : played(target.play),
                    std::string(target.kind) == "pti" ? 64u : 0u};
    return difference(file(), expectedFile(*contents, sent), length);
}

} // namespace recording_test
