// The bytes of every request and record, written out.

#include "tests/unit/mpx/ProxyOverScript.h"

#include <array>

using frames::bytes;
using frames::reply;
using frames::word;
using VX_QRS::ORV::RegisterAccess;

namespace {
class ProxyFrames : public ProxyOverScript {};
} // namespace

TEST_F(ProxyFrames, Connect) {
    script->expect(bytes({'$', 'c', 5, 0, 0, 0, 'u', 's', 'b', ':', '0', '#', '0', '0'})).give("$OK#00");
    proxy->connect("usb:0");
}

TEST_F(ProxyFrames, ConnectEscapesTheUrl) {
    script->expect(bytes({'$', 'c', 4, 0, 0, 0, '}', ']', '}', 3, '}', 4, '}', 10, '#', '0', '0'})).give("$OK#00");
    proxy->connect("}#$*");
}

TEST_F(ProxyFrames, ConnectEscapesTheLength) {
    script->expect(bytes({'$', 'c', '}', 3, 0, 0, 0}) + std::string(35, 'u') + "#00").give("$OK#00");
    proxy->connect(std::string(35, 'u').c_str());
}

TEST_F(ProxyFrames, Disconnect) {
    script->expect("$C#00").give("$OK#00");
    proxy->disconnect();
}

TEST_F(ProxyFrames, Read) {
    std::array<RegisterAccess, 2> list{{{1, 0x01020304, 0}, {2, 0xFF7D2324, 0x2A00FF00}}};
    script
        ->expect(bytes({'$', 'm', 2,  0, 0,   0,                                               //
                        1,   0,   0,  0, 4,   3, 2,   1, 0,   0,    0,    0,                   //
                        2,   0,   0,  0, '}', 4, '}', 3, '}', 0x5D, 0xFF, 0, 0xFF, 0, '}', 10, //
                        '#', '0', '0'}))
        .give(bytes({'$',  'O', 'K',                                                      //
                     1,    0,   0,   0,    4, 3, 2, 1, '}', 3,   0xBE, 0,   0,            //
                     0xFF, 0,   '}', 0x5D, 0, 9, 8, 7, 6,   '}', 10,   '}', 4, '}', 3, 0, //
                     '#',  'f', 'f'}));
    proxy->read(list.data(), 2);
    EXPECT_EQ(list[0].kind, 1u);
    EXPECT_EQ(list[0].address, 0x01020304u);
    EXPECT_EQ(list[0].value, 0x0000BE23u);
    EXPECT_EQ(list[1].kind, 0x007D00FFu);
    EXPECT_EQ(list[1].address, 0x06070809u);
    EXPECT_EQ(list[1].value, 0x0023242Au);
}

TEST_F(ProxyFrames, ReadOfNothingSendsACountOfZeroAndExpectsNoPayload) {
    script->expect(bytes({'$', 'm', 0, 0, 0, 0, '#', '0', '0'})).give("$OK#00");
    proxy->read(nullptr, 0);
}

TEST_F(ProxyFrames, Write) {
    const std::array<RegisterAccess, 1> list{{{1, 0x2A, 0x2324}}};
    script->expect(bytes({'$', 'M', 1, 0, 0, 0, 1, 0, 0, 0, '}', 10, 0, 0, 0, '}', 4, '}', 3, 0, 0, '#', '0', '0'}))
        .give("$OK#00");
    proxy->write(list.data(), 1);
}

TEST_F(ProxyFrames, OpenAndCloseChannel) {
    script->expect(bytes({'$', 'o', 0, 0, 0, 8, 1, 0, 0, 0, '#', '0', '0'})).give("$OK#00");
    VX_QRS::ORV::DataClient::Channel* const channel = proxy->openChannel(0x08000000, 1, &callback);
    EXPECT_EQ(channel, proxy.get());
    script->expect("$O#00").give("$OK#00");
    proxy->closeChannel(channel);
}

TEST_F(ProxyFrames, PlainChannelOperations) {
    script->expect("$s#00").give("$OK#00").expect("$S#00").give("$OK#00");
    proxy->start();
    proxy->stop();
    script->expect("$x#00").give("$OK#00").expect("$f#00").give("$OK#00");
    proxy->cancel();
    proxy->flush();
}

TEST_F(ProxyFrames, Status) {
    std::uint32_t ready = 0x00230001;
    script->expect(bytes({'$', '?', 1, 0, '}', 3, 0, '#', '0', '0'}))
        .give(bytes({'$', 'O', 'K', 0, '}', 0x5D, 0xFF, '}', 10, '#', '0', '0'}));
    proxy->status(&ready);
    EXPECT_EQ(ready, 0x2AFF7D00u);
}

TEST_F(ProxyFrames, Request) {
    script->expect(bytes({'$', 'r', 0, '@', 0xFF, 0, '#', '0', '0'})).give("$OK#00");
    proxy->request(0x00FF4000);
}

TEST_F(ProxyFrames, PeekSendsThePointersOwnBytesAndThenZeros) {
    std::array<char, 16> data{};
    void* const pointer = data.data();
    std::uint32_t size = 12;
    std::string storage;
    for (unsigned i = 0; i < 8; ++i) {
        storage.push_back(static_cast<char>(reinterpret_cast<std::uintptr_t>(pointer) >> (8 * i)));
    }
    script->expect(frames::request('p', word(7) + word(9) + word(12) + storage + std::string(4, '\0')))
        .give(reply(word(6) + "#}$*\x01\xFF"));
    proxy->peek(7, 9, pointer, &size);
    EXPECT_EQ(size, 6u);
    EXPECT_EQ(std::string(data.data(), 6), "#}$*\x01\xFF");
    EXPECT_EQ(data[6], 0);
}

TEST_F(ProxyFrames, PeekOfFewBytesSendsOnlyTheBeginningOfThePointer) {
    std::array<char, 600> data{};
    void* const pointer = data.data();
    std::uint32_t size = 2;
    const auto value = reinterpret_cast<std::uintptr_t>(pointer);
    script
        ->expect(frames::request('p', word(0) + word(0) + word(2) + static_cast<char>(value) +
                                          static_cast<char>(value >> 8)))
        .give(reply(word(0)));
    proxy->peek(0, 0, pointer, &size);
    EXPECT_EQ(size, 0u);

    size = 600;
    std::string storage;
    for (unsigned i = 0; i < 8; ++i) {
        storage.push_back(static_cast<char>(value >> (8 * i)));
    }
    script->expect(frames::request('p', word(0) + word(0) + word(600) + storage + std::string(592, '\0')))
        .give(reply(word(0)));
    proxy->peek(0, 0, pointer, &size);
}

TEST_F(ProxyFrames, PollServer) {
    script->expect("$~#00").give("$OK#00");
    proxy->pollServer();
}

TEST_F(ProxyFrames, DestructionSaysGoodbyeAndReadsNoReply) {
    proxy.reset();
    EXPECT_TRUE(script->saidGoodbye);
    EXPECT_TRUE(script->closed);
}

TEST_F(ProxyFrames, DataRecordLiterally) {
    openChannel();
    EXPECT_EQ(startAnswered(bytes({'$', 'c',  'b', 0x62, 0x1E, 0,  0,   8,  0,    0,    0,         //
                                   '}', 0x5D, '}', 3,    '}',  4,  '}', 10, 0x00, 0xFF, 0x5D, 'z', //
                                   '$', 'O',  'K', '#',  '0',  '0'})),
              "");
    EXPECT_EQ(callback.calls, std::vector<std::string>{"data " + bytes({'}', '#', '$', '*', 0, 0xFF, 0x5D, 'z'})});
}

TEST_F(ProxyFrames, DataRecordWhoseSizeIsEscaped) {
    openChannel();
    EXPECT_EQ(
        startAnswered(bytes({'$', 'c', 'b', 0x62, 0x1E, 0, 0, '}', 3, 0, 0, 0}) + std::string(35, '!') + "$OK#00"), "");
    EXPECT_EQ(callback.calls, std::vector<std::string>{"data " + std::string(35, '!')});
}

TEST_F(ProxyFrames, ErrorRecordLiterally) {
    openChannel();
    EXPECT_EQ(startAnswered(bytes({'$', 'c', 'b', 0x63, 0x1E, 0,   0, '}', 10, 0xFF, 0,    0,    //
                                   5,   0,   0,   0,    'a',  '}', 3, '}', 4,  '}',  0x5D, 0xFF, //
                                   1,   0,   0,   0,    '}',  10,                                //
                                   '$', 'O', 'K', '#',  '0',  '0'})),
              "");
    EXPECT_EQ(callback.calls, std::vector<std::string>{"error 65322 'a#$}\xFF' '*'"});
}

TEST_F(ProxyFrames, ErrorRecordWithEmptyTexts) {
    openChannel();
    EXPECT_EQ(startAnswered(bytes({'$', 'c', 'b', 0x63, 0x1E, 0, 0, 0, 0,   0,   0, //
                                   0,   0,   0,   0,    0,    0, 0, 0, '$', 'O', 'K', '#', '0', '0'})),
              "");
    EXPECT_EQ(callback.calls, std::vector<std::string>{"error 0 '' ''"});
}

TEST_F(ProxyFrames, StatusRecordLiterally) {
    openChannel();
    EXPECT_EQ(startAnswered(bytes({'$', 'c', 'b', 0x64, 0x1E, 0, 0, '}', 4, 0, 0xFF, '}', 0x5D, //
                                   '$', 'O', 'K', '#', '0', '0'})),
              "");
    EXPECT_EQ(callback.calls, std::vector<std::string>{"status " + std::to_string(0x7DFF0024)});
}

TEST_F(ProxyFrames, EveryByteInEveryFieldSurvives) {
    openChannel();
    const std::string awkward = frames::awkwardBytes();
    std::string text = awkward;
    std::erase(text, '\0'); // a text ends at its first NUL
    const std::string records = frames::dataRecord(awkward) + frames::errorRecord(0x2A24237D, text, "}" + text) +
                                frames::statusRecord(0x7D2A2423) + frames::dataRecord("");
    std::uint32_t ready = 0x2324FF00;
    script->expect(frames::request('?', word(0x2324FF00))).give(reply(word(0x24237D2A), records));
    proxy->status(&ready);
    EXPECT_EQ(ready, 0x24237D2Au);
    EXPECT_EQ(callback.calls,
              (std::vector<std::string>{"data " + awkward,
                                        "error " + std::to_string(0x2A24237D) + " '" + text + "' '}" + text + "'",
                                        "status " + std::to_string(0x7D2A2423), "data "}));
}
