// Each operation with each fault of a server, on a link in memory.

#include "tests/support/failure/FailureText.h"
#include "tests/unit/mpx/ConnectionFailures.h"
#include "tests/unit/mpx/Operations.h"

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

using frames::access;
using frames::dataRecord;
using frames::errorRecord;
using frames::reply;
using frames::statusRecord;
using frames::word;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace MPX_GDB_AGENT;
using test_support::failureText;
using VX_QRS::ORV::OrvEcomProxy;

namespace {

constexpr const char* poisoned = "invalid rsp response";
constexpr bool withoutChannel = false;
constexpr bool withChannel = true;

// A proxy over a script, and the operation under test.
class Talk {
public:
    Talk(const Operation& tried, bool opensChannel) : operation(tried) {
        script->expect("$v#00").give(reply(word(1)));
        proxy = std::make_unique<OrvEcomProxy>(std::make_unique<ScriptedLink>(script), 64);
        if (opensChannel && !operation.opensTheChannel()) {
            script->expect(frames::request('o', word(0) + word(0))).give(reply());
            proxy->openChannel(0, 0, &callback);
        }
    }
    ~Talk() {
        proxy.reset();
        script->verify();
        EXPECT_TRUE(script->closed);
    }
    Talk(const Talk&) = delete;
    Talk& operator=(const Talk&) = delete;

    std::string run() {
        return failureText([this] { operation.run(*proxy, callback); });
    }
    // Another request after the failed one, and its text.
    std::string later() {
        return failureText([this] { proxy->stop(); });
    }
    // The operation's text for this failure of the server.
    std::string leaving(const std::string& text) const { return operation.swallowsFailures() ? "" : text; }

    const Operation& operation;
    std::shared_ptr<LinkScript> script = std::make_shared<LinkScript>();
    RecordingCallback callback;
    std::unique_ptr<OrvEcomProxy> proxy;
};

// Runs a check for each operation, without and with an open channel.
template <class Check>
void forEachOperation(const Check& check) {
    for (const Operation& operation : operations()) {
        for (const bool opensChannel : {false, true}) {
            if (!opensChannel && operation.needsAChannel()) {
                continue;
            }
            SCOPED_TRACE(std::string(operation.name) + (opensChannel ? " with a channel" : ""));
            Talk talk(operation, opensChannel);
            check(talk, opensChannel);
        }
    }
}

template <class Check>
void forEachOperationWithAChannel(const Check& check) {
    for (const Operation& operation : operations()) {
        SCOPED_TRACE(operation.name);
        Talk talk(operation, withChannel);
        check(talk);
    }
}

// Results of each kind of operation for an answer of no or another request: its text, then the text of the next
// request, empty when that gets its own valid reply.
struct Outcome {
    std::string text;
    std::string next;
    bool endTaken = false; // so that the next request waits for a reply of its own
};

struct Answer {
    std::string raw;
    Outcome plain;  // of operations without a payload
    Outcome status; // four bytes
    Outcome read;   // twelve bytes
    Outcome peek;   // a size and that many bytes

    const Outcome& of(const Operation& operation) const {
        switch (operation.command) {
        case '?':
            return status;
        case 'm':
            return read;
        case 'p':
            return peek;
        default:
            return plain;
        }
    }
};

Answer alike(const std::string& raw, const std::string& text, const std::string& next) {
    const Outcome outcome{text, next};
    return {raw, outcome, outcome, outcome, outcome};
}

const Outcome good{"", ""};
const Outcome noEnd{"invald rsp final response", poisoned};
const Outcome endIsPayload{"invald rsp final response", poisoned, true};
// The short payload has consumed the end mark, so nothing precedes the next reply.
const Outcome tooShort{"invalid rsp response data", ""};
const Outcome twiceTooShort{"invalid rsp response datainvalid rsp response data", ""};

const std::vector<Answer>& wrongAnswers() {
    static const std::vector<Answer> all{
        alike("$E#00", "internal rsp error", poisoned),
        alike("$E17#00", "internal rsp error", poisoned),
        alike("$err#00", "internal rsp exception", poisoned),
        alike("$errno unit#00", "no unit", poisoned),
        alike("$err}#00", "}", poisoned),
        alike("$err$OK#00", "$OK", poisoned),
        alike("$err$E#00", "$E", poisoned),
        alike("hello#00", poisoned, poisoned),
        alike("#00", poisoned, poisoned),
        alike("$#00", poisoned, poisoned),
        alike("$O#00", poisoned, poisoned),
        alike("$Ok#00", poisoned, poisoned),
        alike("OK#00", poisoned, poisoned),
        alike("+$OK#00", poisoned, poisoned),
        alike("$c#00", poisoned, poisoned),
        alike("$er#00", poisoned, poisoned),
        alike("$era#00", poisoned, poisoned),
        alike("$e#00", poisoned, poisoned),
        alike("$s#00", poisoned, poisoned), // a request sent back
        alike(std::string(5, '\0') + "#00", poisoned, poisoned),
        {"$OK#00", good, tooShort, tooShort, twiceTooShort},
        {"$OK}#00", noEnd, tooShort, tooShort, twiceTooShort},
        {"$OK" + word(1) + "#00", noEnd, good, tooShort, endIsPayload},
        {"$OK" + access(1, 2, 3) + "#00", noEnd, noEnd, good, noEnd},
        {"$OK" + word(9) + "123456789#00", noEnd, noEnd, noEnd, good},
        {"$OK" + word(20) + "123#00", noEnd, noEnd, tooShort, tooShort},
        {"$OKtoo much of it all#00", noEnd, noEnd, noEnd, {"", ""}},
    };
    return all;
}

// A faulty record with an open channel, what it delivers anyway, and the texts that follow.
struct BadRecord {
    const char* name;
    std::string raw; // up to the end mark
    std::string text;
    std::string next;
    std::vector<std::string> delivered;
};

constexpr const char* badRecord = "invalid rsp callback responseinvalid rsp response";

const std::vector<BadRecord>& badRecords() {
    const std::string type = word(7779);
    static const std::vector<BadRecord> all{
        {"an unknown type", "$cb" + word(7781) + "abcd$OK#00", badRecord, poisoned, {}},
        {"the type below", "$cb" + word(7777) + "abcd$OK#00", badRecord, poisoned, {}},
        {"a type of another byte order",
         "$cb" + frames::bytes({0, 0, 0x1E, 0x64}) + word(1) + "$OK#00",
         badRecord,
         poisoned,
         {}},
        // A short record consumes the end mark.
        {"no type", "$cb#00", badRecord, "", {}},
        {"no value", "$cb" + word(7780) + "#00", badRecord, "", {}},
        {"no size", "$cb" + word(7778) + "#00", badRecord, "", {}},
        {"few bytes", "$cb" + word(7778) + word(9) + "1234#00", badRecord, "", {}},
        {"few bytes because of an escape", "$cb" + word(7778) + word(8) + "1234}#00", badRecord, "", {}},
        {"no code", "$cb" + type + "#00", badRecord, "", {}},
        {"no first length", "$cb" + type + word(1) + "#00", badRecord, "", {}},
        {"a short first text", "$cb" + type + word(1) + word(9) + "one#00", badRecord, "", {}},
        {"no second length", "$cb" + type + word(1) + word(3) + "one#00", badRecord, "", {}},
        {"a short second text", "$cb" + type + word(1) + word(3) + "one" + word(9) + "two#00", badRecord, "", {}},
        {"an endless size", "$cb" + word(7778) + word(0xFFFFFFFF) + "#00", badRecord, "", {}},
        {"an endless text", "$cb" + type + word(1) + word(0xFFFFFFFF) + "#00", badRecord, "", {}},
        {"a good one before a short one", statusRecord(6) + "$cb" + word(7780) + "#00", badRecord, "", {"status 6"}},
        {"a good one before an error", dataRecord("a}b") + "$E#00", "internal rsp error", poisoned, {"data a}b"}},
        {"a good one before a text", statusRecord(0) + "$errgone#00", "gone", poisoned, {"status 0"}},
        {"a good one before garbage", statusRecord(0) + "??#00", poisoned, poisoned, {"status 0"}},
        {"a good one and no reply", errorRecord(5, "a", "") + "#00", poisoned, poisoned, {"error 5 'a' ''"}},
        {"an unknown one before an error",
         "$cb" + word(1) + "$E#00",
         "invalid rsp callback responseinternal rsp error",
         poisoned,
         {}},
        {"an unknown one before an empty text",
         "$cb" + word(1) + "$err#00",
         "invalid rsp callback response",
         poisoned,
         {}},
        {"an unknown one before a text",
         "$cb" + word(1) + "$errgone#00",
         "invalid rsp callback responsegone",
         poisoned,
         {}},
        {"two unknown ones",
         "$cb" + word(1) + "$cb" + word(2) + "$E#00",
         "invalid rsp callback responseinvalid rsp callback responseinternal rsp error",
         poisoned,
         {}},
        {"an unknown one between good ones",
         statusRecord(1) + "$cb" + word(1) + statusRecord(2) + "$E#00",
         "invalid rsp callback responseinternal rsp error",
         poisoned,
         {"status 1", "status 2"}},
        // The reply after it is valid, but its payload and end are not consumed.
        {"an unknown one before a good reply",
         "$cb" + word(1) + "$OK#00",
         "invalid rsp callback response",
         poisoned,
         {}},
    };
    return all;
}

// Makes the next request after a wrong answer with this outcome.
void expectNext(Talk& talk, const std::string& next, bool waits = false) {
    talk.script->expect("$S#00");
    if (next.empty() || waits) {
        talk.script->give(reply());
    }
    EXPECT_EQ(talk.later(), next);
}

// A failed construction; returns its text.
std::string constructOver(const std::shared_ptr<LinkScript>& script) {
    const std::string text = failureText([&] { OrvEcomProxy(std::make_unique<ScriptedLink>(script), 64); });
    script->verify();
    EXPECT_TRUE(script->closed);
    return text;
}

} // namespace

TEST(FaultyReplies, TheTableHoldsEveryCommandButThoseOfLifeAndDeath) {
    std::string commands;
    for (const Operation& operation : operations()) {
        commands += operation.command;
    }
    EXPECT_EQ(commands, "cCmMoOs?pSrxf~");
}

TEST(FaultyReplies, AValidAnswerLeavesNoUnreadBytes) {
    for (const std::size_t piece : {std::size_t{1}, std::size_t{3}, std::size_t{1000}}) {
        forEachOperation([&](Talk& talk, bool) {
            talk.script->expect(talk.operation.request()).give(reply(talk.operation.payload), piece);
            EXPECT_EQ(talk.run(), "");
            expectNext(talk, "");
        });
    }
}

TEST(FaultyReplies, ALossAtAnyByteOfTheReplyIsALostConnection) {
    for (const bool inSingles : {false, true}) {
        for (const Operation& operation : operations()) {
            const std::string whole =
                reply(operation.payload, dataRecord("a}b#c") + errorRecord(2, "x", "") + statusRecord(0));
            const std::size_t end = whole.rfind('#');
            for (std::size_t cut = 0; cut <= end; ++cut) {
                SCOPED_TRACE(std::string(operation.name) + " cut at " + std::to_string(cut));
                Talk talk(operation, withChannel);
                talk.script->expect(operation.request());
                if (cut != 0) {
                    talk.script->give(whole.substr(0, cut), inSingles ? 1 : 1000);
                }
                talk.script->hangUp();
                EXPECT_EQ(talk.run(), talk.leaving(lost));
                EXPECT_THAT(talk.callback.calls, IsEmpty());
                EXPECT_EQ(talk.later(), unwritten);
                EXPECT_EQ(talk.later(), unwritten);
            }
        }
    }
}

TEST(FaultyReplies, ALossWithNoChannelOpenIsTheSame) {
    for (const Operation& operation : operations()) {
        if (operation.needsAChannel()) {
            continue;
        }
        const std::string whole = reply(operation.payload);
        for (std::size_t cut = 0; cut + 3 <= whole.size(); ++cut) {
            SCOPED_TRACE(std::string(operation.name) + " cut at " + std::to_string(cut));
            Talk talk(operation, withoutChannel);
            talk.script->expect(operation.request());
            if (cut != 0) {
                talk.script->give(whole.substr(0, cut));
            }
            talk.script->hangUp();
            EXPECT_EQ(talk.run(), talk.leaving(lost));
            EXPECT_EQ(talk.later(), unwritten);
        }
    }
}

TEST(FaultyReplies, ALossAfterTheEndMarkFailsTheNextRequest) {
    for (const std::size_t missing : {std::size_t{0}, std::size_t{1}, std::size_t{2}}) {
        for (const bool seenOnSending : {false, true}) {
            forEachOperation([&](Talk& talk, bool) {
                const std::string whole = reply(talk.operation.payload);
                talk.script->expect(talk.operation.request()).give(whole.substr(0, whole.size() - missing));
                EXPECT_EQ(talk.run(), "");
                if (seenOnSending) {
                    talk.script->hangUp();
                } else {
                    talk.script->expect("$S#00").hangUp();
                }
                EXPECT_EQ(talk.later(), lost);
                EXPECT_EQ(talk.later(), unwritten);
            });
        }
    }
}

TEST(FaultyReplies, ALossInTheMiddleOfTheRequest) {
    forEachOperation([&](Talk& talk, bool) {
        const std::string sent = talk.operation.request();
        talk.script->expect(sent.substr(0, sent.size() / 2)).hangUp();
        EXPECT_EQ(talk.run(), talk.leaving(lost));
        EXPECT_EQ(talk.later(), unwritten);
    });
}

TEST(FaultyReplies, EveryResultOfTheTransportHasItsText) {
    for (const std::uint32_t result : {IoFailed, IoDisconnected, IoListenFailed, IoNotConnected, IoTimeout}) {
        SCOPED_TRACE(result);
        forEachOperation([&](Talk& talk, bool) {
            const std::string whole = reply(talk.operation.payload);
            talk.script->writeGives(result);
            EXPECT_EQ(talk.run(), talk.leaving(result == IoDisconnected ? lost : unwritten));
        });
        forEachOperation([&](Talk& talk, bool) {
            talk.script->expect(talk.operation.request()).waitGives(result);
            if (result == IoTimeout) {
                talk.script->give(reply(talk.operation.payload));
            }
            EXPECT_EQ(talk.run(), result == IoTimeout ? "" : talk.leaving(lost));
        });
        forEachOperation([&](Talk& talk, bool) {
            talk.script->expect(talk.operation.request()).give("$").readGives(result);
            if (result == IoTimeout) {
                talk.script->give(reply(talk.operation.payload).substr(1));
            }
            EXPECT_EQ(talk.run(), result == IoTimeout ? "" : talk.leaving(lost));
        });
    }
}

TEST(FaultyReplies, AHangIsWaitedThroughUntilTheServerEnds) {
    forEachOperation([](Talk& talk, bool) {
        talk.script->expect(talk.operation.request()).quiet(100).give("$O").quiet(100).hangUp();
        EXPECT_EQ(talk.run(), talk.leaving(lost));
        EXPECT_EQ(talk.later(), unwritten);
    });
}

TEST(FaultyReplies, AWrongAnswerEndsInItsText) {
    for (const Answer& answer : wrongAnswers()) {
        SCOPED_TRACE(frames::toHex(answer.raw));
        forEachOperation([&](Talk& talk, bool) {
            if (talk.operation.command == 'p' && answer.raw.starts_with("$OKtoo")) {
                return; // claims more than the storage has
            }
            const Outcome& outcome = answer.of(talk.operation);
            talk.script->expect(talk.operation.request()).give(answer.raw);
            EXPECT_EQ(talk.run(), talk.leaving(outcome.text));
            expectNext(talk, outcome.next, outcome.endTaken);
            if (outcome.next == poisoned) {
                expectNext(talk, poisoned); // for good
            }
        });
    }
}

TEST(FaultyReplies, ARecordThatGoesWrongEndsInItsText) {
    for (const BadRecord& bad : badRecords()) {
        SCOPED_TRACE(bad.name);
        forEachOperationWithAChannel([&](Talk& talk) {
            talk.script->expect(talk.operation.request()).give(bad.raw);
            EXPECT_EQ(talk.run(), talk.leaving(bad.text));
            EXPECT_EQ(talk.callback.calls, bad.delivered);
            expectNext(talk, bad.next);
        });
    }
}

TEST(FaultyReplies, ARecordWithNoChannelOpenIsNeitherReadNorDelivered) {
    for (const std::string& record :
         {statusRecord(1), dataRecord("abc"), errorRecord(1, "a", "b"), std::string("$cb")}) {
        for (const Operation& operation : operations()) {
            if (operation.needsAChannel() || operation.opensTheChannel()) {
                continue;
            }
            SCOPED_TRACE(operation.name);
            Talk talk(operation, withoutChannel);
            const bool bare = record == "$cb"; // then the reply itself is next, and valid
            talk.script->expect(operation.request()).give(record + reply(operation.payload));
            EXPECT_EQ(talk.run(), talk.leaving(bare ? "invalid rsp callback response" : badRecord));
            EXPECT_THAT(talk.callback.calls, IsEmpty());
            expectNext(talk, poisoned);
        }
    }
}

TEST(FaultyReplies, RecordsBeforeAnyReplyAreDeliveredInOrder) {
    forEachOperationWithAChannel([](Talk& talk) {
        const std::string records = statusRecord(3) + dataRecord("#") + errorRecord(4, "$", "") + dataRecord("");
        talk.script->expect(talk.operation.request()).give(reply(talk.operation.payload, records));
        EXPECT_EQ(talk.run(), "");
        EXPECT_THAT(talk.callback.calls, ElementsAre("status 3", "data #", "error 4 '$' ''", "data "));
        expectNext(talk, "");
    });
}

TEST(FaultyReplies, CheckCharactersLateOrNeverDoNotPoisonTheNextReply) {
    for (const char* late : {"", "0", "00", "ff", "#", "}#", "}}"}) {
        SCOPED_TRACE(late);
        forEachOperation([&](Talk& talk, bool) {
            const std::string whole = reply(talk.operation.payload);
            talk.script->expect(talk.operation.request()).give(whole.substr(0, whole.size() - 2), 1);
            EXPECT_EQ(talk.run(), "");
            talk.script->expect("$?" + word(8) + "#00").quiet(1).give(late + reply(word(9)), 1);
            std::uint32_t ready = 8;
            EXPECT_EQ(failureText([&] { talk.proxy->status(&ready); }), "");
            EXPECT_EQ(ready, 9u);
            expectNext(talk, "");
        });
    }
}

TEST(FaultyVersionCheck, ALossAtAnyByteOfTheReply) {
    const std::string whole = reply(word(1));
    for (std::size_t cut = 0; cut + 3 <= whole.size(); ++cut) {
        SCOPED_TRACE(cut);
        auto script = std::make_shared<LinkScript>();
        script->expect("$v#00");
        if (cut != 0) {
            script->give(whole.substr(0, cut));
        }
        script->hangUp();
        EXPECT_EQ(constructOver(script), lost);
    }
}

TEST(FaultyVersionCheck, EveryResultOfTheTransport) {
    for (const std::uint32_t result : {IoFailed, IoDisconnected, IoListenFailed, IoNotConnected}) {
        SCOPED_TRACE(result);
        auto onWrite = std::make_shared<LinkScript>();
        onWrite->writeGives(result);
        EXPECT_EQ(constructOver(onWrite), result == IoDisconnected ? lost : unwritten);
        auto onWait = std::make_shared<LinkScript>();
        onWait->expect("$v#00").waitGives(result);
        EXPECT_EQ(constructOver(onWait), lost);
        auto onRead = std::make_shared<LinkScript>();
        onRead->expect("$v#00").readGives(result);
        EXPECT_EQ(constructOver(onRead), lost);
    }
}

TEST(FaultyVersionCheck, AWrongAnswerEndsInItsText) {
    for (const Answer& answer : wrongAnswers()) {
        SCOPED_TRACE(frames::toHex(answer.raw));
        if (answer.status.text.empty()) {
            continue; // that one is valid
        }
        auto script = std::make_shared<LinkScript>();
        script->expect("$v#00").give(answer.raw);
        EXPECT_EQ(constructOver(script), answer.status.text);
    }
}

TEST(FaultyVersionCheck, RecordsFindNoChannel) {
    for (const std::string& record : {statusRecord(1), dataRecord("abc"), errorRecord(1, "a", "b")}) {
        auto script = std::make_shared<LinkScript>();
        script->expect("$v#00").give(reply(word(1), record));
        EXPECT_EQ(constructOver(script), badRecord);
    }
}

TEST(FaultyVersionCheck, OtherVersions) {
    for (const std::uint32_t version : {0u, 2u, 0x01000000u, 0x101u, 0xFFFFFFFFu}) {
        auto script = std::make_shared<LinkScript>();
        script->expect("$v#00").give(reply(word(version)));
        EXPECT_EQ(constructOver(script), "ecom version mismatch");
    }
}

TEST(FaultyGoodbye, NoResultOfTheTransportLeavesTheDestructor) {
    for (const std::uint32_t result : {IoFailed, IoDisconnected, IoListenFailed, IoNotConnected, IoTimeout}) {
        auto script = std::make_shared<LinkScript>();
        script->expect("$v#00").give(reply(word(1))).writeGives(result);
        {
            const OrvEcomProxy proxy(std::make_unique<ScriptedLink>(script), 64);
        }
        EXPECT_TRUE(script->closed);
        script->verify();
    }
}

TEST(FaultyGoodbye, ItIsSentAfterAnyFailure) {
    for (const std::string& answer : {std::string("$E#00"), std::string("hello#00"), std::string("$OKmore#00")}) {
        auto script = std::make_shared<LinkScript>();
        script->expect("$v#00").give(reply(word(1))).expect("$s#00").give(answer).expect("$D#00");
        {
            OrvEcomProxy proxy(std::make_unique<ScriptedLink>(script), 64);
            EXPECT_NE(failureText([&] { proxy.start(); }), "");
        }
        EXPECT_TRUE(script->closed);
        script->verify();
    }
}
