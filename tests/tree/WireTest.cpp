#include "bench/server/Codec.h"
#include "mpx/MpxEcomServer/OrvEcomProxy.h"
#include "tests/support/failure/FailureText.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/support/scripted_server/Frames.h"
#include "tests/support/scripted_server/ScriptedLink.h"
#include "tests/tree/Examples.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <map>
#include <memory>

// The talk that the page on the wire shows: the library sends these bytes and understands these replies, and the
// bench's server reads these requests.

namespace tree {

using testing::ElementsAre;
using VX_QRS::ORV::OrvEcomProxy;
using VX_QRS::ORV::RegisterAccess;

namespace {

struct Exchange {
    std::string heading;
    char command = 0;
    std::string request;
    std::string reply;
};

/// The exchanges of a section of the page.
std::vector<Exchange> exchangesOf(const std::string& heading) {
    std::string document;
    for (const Section& section :
         sectionsOf(test_support::readText(std::string(ORV_SOURCE_ROOT) + "/docs/formats/wire.md"), "##")) {
        if (section.heading == heading) {
            document = section.text;
        }
    }
    std::vector<Exchange> exchanges;
    for (const Section& section : sectionsOf(document, "###")) {
        Exchange exchange;
        exchange.heading = section.heading;
        exchange.command = section.heading.at(1);
        std::string* direction = &exchange.request;
        for (const HexLine& line : hexLinesOf(indentedOf(section.text))) {
            if (!line.head.empty()) {
                direction = line.head == "->" ? &exchange.request : &exchange.reply;
            }
            *direction += line.bytes;
        }
        exchanges.push_back(exchange);
    }
    return exchanges;
}

class Records : public VX_QRS::ORV::DataClient::Callback {
public:
    void onData(const void* data, std::uint32_t size) override {
        all.push_back("data " + std::string(static_cast<const char*>(data), size));
    }
    void onError(std::uint32_t code, const char* first, const char* second) override {
        all.push_back("error " + std::to_string(code) + " '" + first + "' '" + second + "'");
    }
    void onStatus(std::uint32_t value) override { all.push_back("status " + std::to_string(value)); }

    std::vector<std::string> all;
};

} // namespace

TEST(WirePage, IsWhatTheLibrarySaysAndUnderstands) {
    const std::vector<Exchange> exchanges = exchangesOf("Commands");
    ASSERT_EQ(exchanges.size(), 16U);
    ASSERT_EQ(exchanges.front().command, 'v');
    ASSERT_EQ(exchanges.back().command, 'D');
    const auto script = std::make_shared<LinkScript>();
    for (const Exchange& exchange : exchanges) {
        if (exchange.command != 'D') {
            script->expect(exchange.request).give(exchange.reply);
        }
    }
    EXPECT_EQ(exchanges.back().request, "$D#00"); // what the script takes for the goodbye

    auto proxy = std::make_unique<OrvEcomProxy>(std::make_unique<ScriptedLink>(script), 64);
    Records records;
    const std::map<char, std::function<void()>> operations{
        {'c', [&] { proxy->connect("bench0,bench.out"); }},
        {'C', [&] { proxy->disconnect(); }},
        {'M',
         [&] {
             const RegisterAccess access{1, 0x08000010, 0x0730};
             proxy->write(&access, 1);
         }},
        {'m',
         [&] {
             std::array<RegisterAccess, 2> list{{{1, 0x08000030, 0}, {1, 0x08000004, 0}}};
             list[1].address = 0x08000024;
             proxy->read(list.data(), 2);
             EXPECT_EQ(list[0].value, 0xF080U);
             EXPECT_EQ(list[1].value, 0x0023U);
         }},
        {'o', [&] { proxy->openChannel(262144, 0, &records); }},
        {'O', [&] { proxy->closeChannel(proxy.get()); }},
        {'s', [&] { proxy->start(); }},
        {'?',
         [&] {
             std::uint32_t ready = 0;
             proxy->status(&ready);
             EXPECT_EQ(ready, 16384U);
         }},
        {'p',
         [&] {
             std::array<unsigned char, 4> bytes{};
             std::uint32_t size = 0;
             proxy->peek(0, 0, bytes.data(), &size);
             EXPECT_EQ(size, 4U);
             EXPECT_THAT(bytes, ElementsAre(0xF0, 0x7D, 0xA5, 0x5A));
         }},
        {'S', [&] { proxy->stop(); }},
        {'r', [&] { proxy->request(3); }},
        {'x', [&] { proxy->cancel(); }},
        {'f', [&] { proxy->flush(); }},
        {'~', [&] { proxy->pollServer(); }},
    };
    for (std::size_t i = 1; i + 1 < exchanges.size(); ++i) {
        SCOPED_TRACE(exchanges[i].heading);
        ASSERT_TRUE(operations.contains(exchanges[i].command));
        operations.at(exchanges[i].command)();
    }
    proxy.reset();
    script->verify();
    EXPECT_TRUE(script->saidGoodbye);
    EXPECT_THAT(records.all, ElementsAre("status 0", "error 7 'lost!' ''", "data $AB"));
}

TEST(WirePage, FailuresAreWhatTheLibraryThrows) {
    std::vector<std::string> failures;
    Records records;
    for (const Exchange& exchange : exchangesOf("Failures")) {
        const auto script = std::make_shared<LinkScript>();
        script->expect("$v#00").give(frames::reply(frames::word(1)));
        script->expect(frames::request('o', frames::word(262144) + frames::word(0))).give(frames::reply(""));
        script->expect(exchange.request).give(exchange.reply);
        OrvEcomProxy proxy(std::make_unique<ScriptedLink>(script), 64);
        proxy.openChannel(262144, 0, &records);
        failures.push_back(test_support::failureText([&] { proxy.flush(); }));
    }
    EXPECT_THAT(failures,
                ElementsAre("internal rsp error", "no channel is open", "internal rsp exception",
                            "invalid rsp response", "invalid rsp callback response", "invald rsp final response"));
}

TEST(WirePage, RequestsAreReadByTheBench) {
    bench::RequestReader reader;
    for (const Exchange& exchange : exchangesOf("Commands")) {
        SCOPED_TRACE(exchange.heading);
        reader.feed({reinterpret_cast<const std::uint8_t*>(exchange.request.data()), exchange.request.size()});
        const auto request = reader.next();
        ASSERT_TRUE(request.has_value());
        EXPECT_EQ(request->command, exchange.command);
        EXPECT_EQ(frames::request(request->command, std::string(request->arguments.begin(), request->arguments.end())),
                  exchange.request);
    }
}

} // namespace tree
