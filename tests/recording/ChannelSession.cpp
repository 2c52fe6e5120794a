#include "tests/recording/ChannelSession.h"

#include "common/source/Exception.h"

#include <gtest/gtest.h>

namespace recording_test {

using namespace VX_QRS::ORV::CLIENT;

ChannelSession::ChannelSession(const Target& chosen, const std::string& lines)
    : target(chosen), bench(chosen), frontEnd(nullptr, &destroyFrontEnd) {
    untilServerListens(
        [&] {
            try {
                frontEnd.reset(createFrontEnd());
            } catch (const Exception&) {
                // Repeated.
            }
        },
        [&] { return frontEnd == nullptr; });
    if (frontEnd == nullptr) {
        throw std::runtime_error("no data server");
    }
    channel = another();
    const std::string path = bench.folder.file("props.txt");
    test_support::writeText(path, "[Global]\norv=bench\n[Channel 0]\nfile=" + stem() + "\npinMap=0,1,2,3,4\n" + lines);
    frontEnd->setProperty("propsFile", path.c_str());
    channel->setProperty("propsFile", path.c_str());
    channel->applySettings();
    channel->calibrate();
}

FrontEndChannel* ChannelSession::another() {
    return frontEnd->alloc("bench/app", xmtr.object, 0, 0, 2, &settings);
}

ChannelMetrics ChannelSession::status() {
    ChannelMetrics now;
    channel->status(now);
    return now;
}

void ChannelSession::waitForBytes(std::uint32_t bytes) {
    EXPECT_TRUE(waitUntil([&] { return status().bytesReady >= bytes; }));
}

void ChannelSession::waitUntilDone() {
    EXPECT_TRUE(waitUntil([&] { return status().threadDone; }));
}

void ChannelSession::record(std::uint32_t bytes) {
    channel->start(false);
    waitForBytes(bytes);
    channel->stop();
    waitUntilDone();
}

std::string ChannelSession::expected() const {
    const auto contents = lastContents(bench.benchFolder());
    return !contents ? "" : expectedFile(*contents, {target.play.empty() ? generated() : played(target.play)});
}

} // namespace recording_test
