// Parsing of replies, valid and invalid ones.

#include "mpx/MpxEcomServer/EcomWire.h"
#include "tests/unit/mpx/ProxyOverScript.h"

#include <array>
#include <random>

using frames::bytes;
using frames::dataRecord;
using frames::errorRecord;
using frames::reply;
using frames::statusRecord;
using frames::word;
using MPX_GDB_AGENT::IoDisconnected;
using MPX_GDB_AGENT::IoFailed;
using MPX_GDB_AGENT::IoNotConnected;
using testing::ElementsAre;
using VX_QRS::ORV::RegisterAccess;

namespace {
class ProxyReplies : public ProxyOverScript {};
} // namespace

TEST_F(ProxyReplies, RecordsArriveInOrderBeforeTheOperationReturns) {
    openChannel();
    const std::string records =
        dataRecord("one") + statusRecord(3) + errorRecord(9, "first", "second") + dataRecord("two") + statusRecord(0);
    EXPECT_EQ(startAnswered(reply({}, records)), "");
    EXPECT_THAT(callback.calls,
                ElementsAre("data one", "status 3", "error 9 'first' 'second'", "data two", "status 0"));
}

TEST_F(ProxyReplies, AReplyOfOneByteAtATimeIsWhole) {
    openChannel();
    EXPECT_EQ(startAnswered(reply({}, dataRecord("a#b}c") + statusRecord(1)), 1), "");
    EXPECT_EQ(startAnswered(reply(), 1), "");
    EXPECT_EQ(startAnswered(reply({}, dataRecord("again")), 1), "");
    EXPECT_THAT(callback.calls, ElementsAre("data a#b}c", "status 1", "data again"));
}

TEST_F(ProxyReplies, SilenceIsWaitedThrough) {
    script->expect("$s#00").quiet(7).give("$O").quiet(3).give("K#00");
    EXPECT_EQ(failureOf([this] { proxy->start(); }), "");
    EXPECT_EQ(script->lastWait, 1000);
}

TEST_F(ProxyReplies, OneReadAsksForAChunk) {
    EXPECT_EQ(startAnswered(reply()), "");
    EXPECT_EQ(script->lastRead, chunkSize);
    openChannel();
    EXPECT_EQ(startAnswered(reply({}, dataRecord(std::string(1000, 'x')))), "");
    EXPECT_EQ(script->lastRead, chunkSize);
    EXPECT_EQ(VX_QRS::ORV::OrvEcomProxy::defaultChunkSize, 65536u);
}

TEST_F(ProxyReplies, TwoRepliesInOneReadServeTwoRequests) {
    EXPECT_EQ(startAnswered("$OK#00$OK#00"), "");
    script->expect("$S#00");
    EXPECT_EQ(failureOf([this] { proxy->stop(); }), "");
    EXPECT_EQ(startAnswered(reply()), "");
}

TEST_F(ProxyReplies, ALatenessIsOverWithTheNextReplyEvenWhereThatFails) {
    openChannel();
    EXPECT_EQ(startAnswered("$OK#"), "");
    EXPECT_EQ(startAnswered("$cb#00"), "invalid rsp callback responseinvalid rsp response");
    // These two are garbage, not late characters.
    EXPECT_EQ(startAnswered("00$OK#00"), "invalid rsp response");
}

TEST_F(ProxyReplies, LateChecksumCharactersAreRemovedBeforeTheNextReply) {
    for (const char* late : {"00", "0", "ff", "#0"}) {
        const std::string behind(late);
        const std::string before = behind.size() == 2 ? "" : "0";
        script->expect("$s#00").give("$OK#" + before);
        proxy->start();
        script->give(behind).quiet(1).expect("$?" + bytes({0, 0, 0, 0}) + "#00");
        script->give(reply(word(77)));
        std::uint32_t ready = 0;
        EXPECT_EQ(failureOf([&] { proxy->status(&ready); }), "") << late;
        EXPECT_EQ(ready, 77u);
    }
}

TEST_F(ProxyReplies, ChecksumCharactersThatNeverComeDoNotCostTheNextReplyItsOpening) {
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(startAnswered("$OK#"), "");
    }
    EXPECT_EQ(startAnswered("$OK#0"), "");
    EXPECT_EQ(startAnswered(reply(), 1), "");
    EXPECT_EQ(startAnswered("$OK#"), "");
    EXPECT_EQ(startAnswered("00$OK#00"), "");
}

TEST_F(ProxyReplies, ARecordLargerThanAllBuffersIsDelivered) {
    openChannel();
    std::mt19937 generator(99);
    std::string payload(300000, '\0');
    for (char& c : payload) {
        c = static_cast<char>(generator());
    }
    for (int round = 0; round < 2; ++round) {
        callback.calls.clear();
        EXPECT_EQ(startAnswered(reply({}, dataRecord(payload)), round == 0 ? 0x7FFFFFFF : 61), "");
        ASSERT_EQ(callback.calls.size(), 1u);
        EXPECT_EQ(callback.calls[0], "data " + payload);
    }
}

TEST_F(ProxyReplies, StatusWithNoChannelOpenGoesOut) {
    std::uint32_t ready = 1;
    script->expect(frames::request('?', word(1))).give(reply(word(4096)));
    proxy->status(&ready);
    EXPECT_EQ(ready, 4096u);
}

TEST_F(ProxyReplies, CloseWithNoChannelOpenSendsNothing) {
    proxy->closeChannel(nullptr);
}

TEST_F(ProxyReplies, ASecondOpenIsRefusedWithoutWireTraffic) {
    openChannel();
    EXPECT_EQ(failureOf([this] { proxy->openChannel(1, 1, &callback); }), "internal channel open error");
    EXPECT_EQ(startAnswered(reply()), "");
}

TEST_F(ProxyReplies, ASecondOpenWithAnotherCallbackIsRefusedAndTheFirstOneStays) {
    openChannel();
    RecordingCallback other;
    EXPECT_EQ(failureOf([&] { proxy->openChannel(1, 1, &other); }), "internal channel open error");
    EXPECT_EQ(startAnswered(reply({}, statusRecord(5))), "");
    EXPECT_THAT(callback.calls, ElementsAre("status 5"));
    EXPECT_THAT(other.calls, testing::IsEmpty());
}

TEST_F(ProxyReplies, ARecordThatClaimsAllBytesLeftIsDeliveredAndLeavesNoReply) {
    // To a record the end mark and its two characters are ordinary bytes.
    openChannel();
    EXPECT_EQ(startAnswered("$cb" + word(7778) + word(3) + "#00"), "invalid rsp response");
    EXPECT_EQ(startAnswered("$cb" + word(7778) + word(6) + "abc#00"), "invalid rsp response");
    EXPECT_EQ(startAnswered("$cb" + word(7779) + word(2) + word(0) + word(4) + "t#00"), "invalid rsp response");
    EXPECT_EQ(startAnswered(reply()), "") << "nothing was left before the next reply";
    EXPECT_THAT(callback.calls, ElementsAre("data #00", "data abc#00", "error 2 '' 't#00'"));
}

TEST_F(ProxyReplies, ARecordThatClaimsOneByteMoreThanIsLeftIsShort) {
    openChannel();
    const std::string text = "invalid rsp callback responseinvalid rsp response";
    EXPECT_EQ(startAnswered("$cb" + word(7778) + word(4) + "#00"), text);
    EXPECT_EQ(startAnswered("$cb" + word(7779) + word(2) + word(0) + word(5) + "t#00"), text);
    EXPECT_EQ(startAnswered(reply()), "");
    EXPECT_THAT(callback.calls, testing::IsEmpty());
}

TEST_F(ProxyReplies, AFailedOpenLeavesTheChannelOpen) {
    script->expect(frames::request('o', word(1) + word(0))).give("$E#00");
    EXPECT_EQ(failureOf([this] { proxy->openChannel(1, 0, &callback); }), "internal rsp error");
    EXPECT_EQ(failureOf([this] { proxy->openChannel(1, 0, &callback); }), "internal channel open error");
}

TEST_F(ProxyReplies, AFailedCloseLeavesTheChannelOpenAndAGoodOneDoesNot) {
    openChannel();
    script->expect("$O#00").give("$O#00$OK#00");
    EXPECT_EQ(failureOf([this] { proxy->closeChannel(nullptr); }), "invalid rsp response");
    EXPECT_EQ(failureOf([this] { proxy->openChannel(1, 0, &callback); }), "internal channel open error");
}

TEST_F(ProxyReplies, AfterCloseAChannelMayBeOpenedAgain) {
    openChannel();
    script->expect("$O#00").give(reply());
    proxy->closeChannel(proxy.get());
    openChannel();
}

TEST_F(ProxyReplies, RecordsBeforeTheOpeningReplyAreDelivered) {
    script->expect(frames::request('o', word(1) + word(0))).give(reply({}, statusRecord(5)));
    proxy->openChannel(1, 0, &callback);
    EXPECT_THAT(callback.calls, ElementsAre("status 5"));
}

TEST_F(ProxyReplies, ErrorMarker) {
    EXPECT_EQ(startAnswered("$E#00"), "internal rsp error");
}

TEST_F(ProxyReplies, ExceptionMarkerCarriesTheServersText) {
    EXPECT_EQ(startAnswered("$errunit is not powered}#00"), "unit is not powered}");
}

TEST_F(ProxyReplies, ExceptionMarkerWithoutText) {
    EXPECT_EQ(startAnswered("$err#00"), "internal rsp exception");
}

TEST_F(ProxyReplies, GarbageAndRepliesToNothingKnown) {
    EXPECT_EQ(startAnswered("hello#00"), "invalid rsp response");
    // Its rest is never removed.
    EXPECT_EQ(failureOf([this] {
                  script->expect("$s#00");
                  proxy->start();
              }),
              "invalid rsp response");
}

TEST_F(ProxyReplies, AnErrorPoisonsEveryLaterReply) {
    EXPECT_EQ(startAnswered("$E#00"), "internal rsp error");
    for (int i = 0; i < 3; ++i) {
        script->expect("$S#00");
        EXPECT_EQ(failureOf([this] { proxy->stop(); }), "invalid rsp response");
    }
}

TEST_F(ProxyReplies, AServersTextPoisonsEveryLaterReply) {
    EXPECT_EQ(startAnswered("$errtext#00"), "text");
    script->expect("$S#00");
    EXPECT_EQ(failureOf([this] { proxy->stop(); }), "invalid rsp response");
}

TEST_F(ProxyReplies, LowerCaseEAndUpperCaseErrAreNotTheMarkers) {
    EXPECT_EQ(startAnswered("$e#00"), "invalid rsp response");
}

TEST_F(ProxyReplies, UpperCaseErrIsAnErrorMarkerWithATail) {
    EXPECT_EQ(startAnswered("$Err#00"), "internal rsp error");
}

TEST_F(ProxyReplies, AnUnrequestedPayloadIsNoEnd) {
    EXPECT_EQ(startAnswered(reply(word(1))), "invald rsp final response");
}

TEST_F(ProxyReplies, AShortStatusPayload) {
    std::uint32_t ready = 5;
    script->expect(frames::request('?', word(5))).give("$OK\x01#");
    EXPECT_EQ(failureOf([&] { proxy->status(&ready); }), "invalid rsp response data");
    EXPECT_EQ(ready, 5u);
}

TEST_F(ProxyReplies, APayloadThatReachesIntoTheEndMarkHasNoEnd) {
    std::uint32_t ready = 5;
    script->expect(frames::request('?', word(5))).give("$OK\x01#00");
    EXPECT_EQ(failureOf([&] { proxy->status(&ready); }), "invald rsp final response");
}

TEST_F(ProxyReplies, AShortRegisterListIsNotedOnce) {
    std::array<RegisterAccess, 3> list{};
    script->expect(frames::request('m', word(3) + std::string(36, '\0'))).give("$OK" + frames::access(1, 2, 3) + "#00");
    EXPECT_EQ(failureOf([&] { proxy->read(list.data(), 3); }), "invalid rsp response data");
    EXPECT_EQ(list[0].value, 3u);
    EXPECT_EQ(list[1].value, 0u);
}

TEST_F(ProxyReplies, AShortPeekNotesBothFailures) {
    std::array<char, 8> data{};
    std::uint32_t size = 8;
    std::string storage;
    for (unsigned i = 0; i < 8; ++i) {
        storage.push_back(static_cast<char>(reinterpret_cast<std::uintptr_t>(data.data()) >> (8 * i)));
    }
    script->expect(frames::request('p', word(0) + word(0) + word(8) + storage)).give("$OK#");
    EXPECT_EQ(failureOf([&] { proxy->peek(0, 0, data.data(), &size); }),
              "invalid rsp response datainvalid rsp response data");
}

TEST_F(ProxyReplies, APeekWhoseDataIsShort) {
    std::array<char, 8> data{};
    std::uint32_t size = 8;
    std::string storage;
    for (unsigned i = 0; i < 8; ++i) {
        storage.push_back(static_cast<char>(reinterpret_cast<std::uintptr_t>(data.data()) >> (8 * i)));
    }
    script->expect(frames::request('p', word(0) + word(0) + word(8) + storage)).give("$OK" + word(8) + "abc#00");
    EXPECT_EQ(failureOf([&] { proxy->peek(0, 0, data.data(), &size); }), "invalid rsp response data");
    EXPECT_EQ(size, 8u);
}

TEST_F(ProxyReplies, ARecordWithNoChannelOpen) {
    EXPECT_EQ(startAnswered(reply({}, statusRecord(1))), "invalid rsp callback responseinvalid rsp response");
}

TEST_F(ProxyReplies, ARecordOfUnknownTypeRunsTwoTextsTogether) {
    openChannel();
    EXPECT_EQ(startAnswered("$cb" + word(7781) + word(1) + "$OK#00"),
              "invalid rsp callback responseinvalid rsp response");
    EXPECT_TRUE(callback.calls.empty());
}

TEST_F(ProxyReplies, AfterABareRecordOfUnknownTypeTheScanContinues) {
    openChannel();
    EXPECT_EQ(startAnswered("$cb" + word(1) + statusRecord(8) + "$OK#00"), "invalid rsp callback response");
    EXPECT_THAT(callback.calls, ElementsAre("status 8"));
}

TEST_F(ProxyReplies, AnUnknownRecordBeforeAServersTextJoinsBothTexts) {
    openChannel();
    EXPECT_EQ(startAnswered("$cb" + word(1) + "$errno power#00"), "invalid rsp callback responseno power");
}

TEST_F(ProxyReplies, RecordsCutAtEveryByteEndInTheStatedTexts) {
    for (const std::string& record : {dataRecord("abcd"), errorRecord(1, "ab", "cd"), statusRecord(4)}) {
        for (std::size_t cut = 3; cut < record.size(); ++cut) {
            auto own = std::make_shared<LinkScript>();
            own->expect("$v#00").give(reply(word(1)));
            VX_QRS::ORV::OrvEcomProxy cutProxy(std::make_unique<ScriptedLink>(own), chunkSize);
            own->expect(frames::request('o', word(0) + word(0))).give(reply());
            cutProxy.openChannel(0, 0, &callback);
            own->expect("$s#00").give(record.substr(0, cut) + "#");
            const std::string text = failureOf([&] { cutProxy.start(); });
            // When only one byte is missing, the end mark is used for it; nothing follows it then.
            EXPECT_THAT(text,
                        testing::AnyOf("invalid rsp callback responseinvalid rsp response", "invalid rsp response"))
                << cut;
            own->verify();
        }
    }
}

TEST_F(ProxyReplies, SizesThatNoReplyCanHoldAreShortRecords) {
    for (const std::uint32_t size : {0xFFFFFFFFu, 0xFFFFFFFEu, 0x80000000u, 0x7FFFFFFFu, 100u}) {
        for (const std::string& record : {word(7778) + word(size), word(7779) + word(1) + word(size),
                                          word(7779) + word(1) + word(1) + "x" + word(size)}) {
            auto own = std::make_shared<LinkScript>();
            own->expect("$v#00").give(reply(word(1)));
            VX_QRS::ORV::OrvEcomProxy ownProxy(std::make_unique<ScriptedLink>(own), chunkSize);
            own->expect(frames::request('o', word(0) + word(0))).give(reply());
            ownProxy.openChannel(0, 0, &callback);
            own->expect("$s#00").give("$cb" + frames::escaped(record) + "abc$OK#00");
            EXPECT_EQ(failureOf([&] { ownProxy.start(); }), "invalid rsp callback responseinvalid rsp response");
            own->verify();
        }
    }
    EXPECT_TRUE(callback.calls.empty());
}

TEST_F(ProxyReplies, AnEscapeAsTheLastByteOfARecordStaysInsideTheStorage) {
    openChannel();
    // The end mark ends the wait for a complete reply; only the escape after it is left for the record.
    EXPECT_EQ(startAnswered("$cb" + word(7780) + "#}"), "invalid rsp callback responseinvalid rsp response");
}

TEST_F(ProxyReplies, ALostConnectionInTheMiddleOfAReply) {
    script->expect("$s#00").give("$OK").hangUp();
    EXPECT_EQ(failureOf([this] { proxy->start(); }), "disconnected from server");
    EXPECT_EQ(failureOf([this] { proxy->stop(); }), "failed to write to server");
    EXPECT_EQ(failureOf([this] { proxy->connect("x"); }), "failed to write to server");
}

TEST_F(ProxyReplies, AConnectionLostOnSending) {
    script->writeGives(IoDisconnected);
    EXPECT_EQ(failureOf([this] { proxy->start(); }), "disconnected from server");
}

TEST_F(ProxyReplies, AnyOtherFailureOfSending) {
    script->writeGives(IoFailed).writeGives(IoNotConnected);
    EXPECT_EQ(failureOf([this] { proxy->start(); }), "failed to write to server");
    EXPECT_EQ(failureOf([this] { proxy->start(); }), "failed to write to server");
}

TEST_F(ProxyReplies, AnyFailureOfWaitingButATimeOutIsALostConnection) {
    script->expect("$s#00").waitGives(IoFailed).expect("$s#00").readGives(IoFailed).expect("$s#00").waitGives(
        IoNotConnected);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(failureOf([this] { proxy->start(); }), "disconnected from server");
    }
}

TEST_F(ProxyReplies, PollSwallowsEveryFailure) {
    script->expect("$~#00").hangUp();
    proxy->pollServer();
    proxy->pollServer();
}

TEST_F(ProxyReplies, EveryReplyCutAtEveryByteAndFollowedByALossEndsInALostConnection) {
    openChannel();
    const std::string whole = reply({}, dataRecord("a}b#c") + errorRecord(2, "x", "y") + statusRecord(0));
    for (std::size_t cut = 0; cut + 2 < whole.size(); ++cut) {
        auto own = std::make_shared<LinkScript>();
        own->expect("$v#00").give(reply(word(1)));
        {
            VX_QRS::ORV::OrvEcomProxy ownProxy(std::make_unique<ScriptedLink>(own), chunkSize);
            own->expect("$s#00");
            if (cut != 0) {
                own->give(whole.substr(0, cut));
            }
            own->hangUp();
            EXPECT_EQ(failureOf([&] { ownProxy.start(); }), "disconnected from server") << cut;
        }
        EXPECT_TRUE(own->closed);
        own->verify();
    }
    EXPECT_TRUE(callback.calls.empty());
}

TEST_F(ProxyReplies, AnExceptionFromACallbackFreesTheLock) {
    class Throwing : public RecordingCallback {
        void onStatus(std::uint32_t) override { throw std::runtime_error("from the callback"); }
    } throwing;
    script->expect(frames::request('o', word(0) + word(0))).give(reply());
    proxy->openChannel(0, 0, &throwing);
    EXPECT_EQ(startAnswered(reply({}, statusRecord(1))), "from the callback");
    script->expect("$S#00");
    EXPECT_EQ(failureOf([this] { proxy->stop(); }), "") << "the rest of that reply is taken for this one's";
}

TEST(EcomProxyVersion, AnotherVersionIsAMismatchAndClosesTheLink) {
    for (const std::uint32_t version : {0u, 2u, 0x0100u, 0x2324u}) {
        auto script = std::make_shared<LinkScript>();
        script->expect("$v#00").give(reply(word(version)));
        try {
            const VX_QRS::ORV::OrvEcomProxy proxy(std::make_unique<ScriptedLink>(script), 64);
            ADD_FAILURE() << version;
        } catch (const std::runtime_error& e) {
            EXPECT_STREQ(e.what(), "ecom version mismatch");
        }
        EXPECT_TRUE(script->closed);
        script->verify();
    }
}

TEST(EcomProxyVersion, AShortVersion) {
    auto script = std::make_shared<LinkScript>();
    script->expect("$v#00").give("$OK#00");
    EXPECT_THROW(
        {
            try {
                const VX_QRS::ORV::OrvEcomProxy proxy(std::make_unique<ScriptedLink>(script), 64);
            } catch (const std::runtime_error& e) {
                EXPECT_STREQ(e.what(), "invalid rsp response data");
                throw;
            }
        },
        std::runtime_error);
    script->verify();
}

TEST(EcomWire, WordsAreLittleEndian) {
    VX_QRS::ORV::wire::Word word{};
    VX_QRS::ORV::wire::put(0x04030201, word);
    EXPECT_EQ(word, (VX_QRS::ORV::wire::Word{1, 2, 3, 4}));
    EXPECT_EQ(VX_QRS::ORV::wire::get(word), 0x04030201u);
}
