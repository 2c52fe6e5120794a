#pragma once

#include "mpx/MpxEcomServer/OrvEcomProxy.h"
#include "tests/support/failure/FailureText.h"
#include "tests/support/scripted_server/Frames.h"
#include "tests/support/scripted_server/ScriptedLink.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

/// Writes down what flows back.
class RecordingCallback : public VX_QRS::ORV::DataClient::Callback {
public:
    void onData(const void* data, std::uint32_t size) override {
        calls.push_back("data " + std::string(static_cast<const char*>(data), size));
    }
    void onError(std::uint32_t code, const char* first, const char* second) override {
        calls.push_back("error " + std::to_string(code) + " '" + first + "' '" + second + "'");
    }
    void onStatus(std::uint32_t value) override { calls.push_back("status " + std::to_string(value)); }

    std::vector<std::string> calls;
};

/// A proxy whose server is a script in memory, after its version check.
class ProxyOverScript : public ::testing::Test {
protected:
    static constexpr std::uint32_t chunkSize = 64; // small, so that buffers have to grow

    ProxyOverScript() {
        script->expect("$v#00").give(frames::reply(frames::word(1)));
        proxy = std::make_unique<VX_QRS::ORV::OrvEcomProxy>(std::make_unique<ScriptedLink>(script), chunkSize);
    }

    ~ProxyOverScript() override {
        proxy.reset();
        script->verify();
        EXPECT_TRUE(script->closed);
    }

    void openChannel() {
        script->expect(frames::request('o', frames::word(0) + frames::word(0))).give(frames::reply());
        ASSERT_EQ(proxy->openChannel(0, 0, &callback), static_cast<VX_QRS::ORV::DataClient::Channel*>(proxy.get()));
    }

    /// Text of the exception that a call throws; empty when it throws none.
    static std::string failureOf(const std::function<void()>& call) {
        return test_support::failureText([&] {
            try {
                call();
            } catch (const VX_QRS::ORV::DataClient::Exception&) {
                ADD_FAILURE() << "the interface's own exception is never thrown";
                throw;
            }
        });
    }

    /// Makes the request `s` (start) and answers it so.
    std::string startAnswered(const std::string& raw, std::size_t piece = 0x7FFFFFFF) {
        script->expect("$s#00").give(raw, piece);
        return failureOf([this] { proxy->start(); });
    }

    std::shared_ptr<LinkScript> script = std::make_shared<LinkScript>();
    std::unique_ptr<VX_QRS::ORV::OrvEcomProxy> proxy;
    RecordingCallback callback;
};
