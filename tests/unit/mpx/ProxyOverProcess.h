#pragma once

#include "common/source/source_utilities/uSocket.h"
#include "mpx/MpxEcomServer/OrvEcomProxy.h"
#include "tests/support/failure/FailureText.h"
#include "tests/support/scripted_server/ScriptedServer.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

/// A port that nobody listens at, so that no server of somebody else is met.
inline std::uint32_t freePort() {
    VX_QRS::uSocket probe;
    EXPECT_EQ(probe.listen(0), VX_QRS::uSocket::done);
    return probe.localPort();
}

/// Tries a proxy at that port once; the text of its failure.
inline std::string constructOnce(std::unique_ptr<VX_QRS::ORV::OrvEcomProxy>& proxy, std::uint32_t port) {
    return test_support::failureText([&] {
        proxy = std::make_unique<VX_QRS::ORV::OrvEcomProxy>(port, VX_QRS::ORV::OrvEcomProxy::defaultChunkSize);
    });
}

/// The same until the server was fast enough. The client gives a server 100 ms to open its port and tries the
/// connection once; a machine that starts a process more slowly than that is no failure of what is tested.
inline std::string construct(std::unique_ptr<VX_QRS::ORV::OrvEcomProxy>& proxy, std::uint32_t port) {
    std::string text;
    for (int attempt = 0; attempt < 20; ++attempt) {
        text = constructOnce(proxy, port);
        if (text != "failed to connect to server") {
            break;
        }
    }
    return text;
}

/// Sees at the end of a test that the working directory is what it was.
class SameDirectory {
public:
    SameDirectory() : before(std::filesystem::current_path()) {}
    SameDirectory(const SameDirectory&) = delete;
    SameDirectory& operator=(const SameDirectory&) = delete;
    ~SameDirectory() { EXPECT_EQ(std::filesystem::current_path(), before); }

private:
    std::filesystem::path before;
};
