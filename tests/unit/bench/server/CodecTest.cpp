#include "bench/server/Codec.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace bench {
namespace {

using namespace std::string_literals;

Bytes bytesOf(const std::string& text) {
    return {text.begin(), text.end()};
}

std::string textOf(const Bytes& bytes) {
    return {bytes.begin(), bytes.end()};
}

TEST(RequestReader, TakesCommandAndArgumentsOutOfAFrame) {
    RequestReader reader;
    reader.feed(bytesOf("$c\x01\0\0\0"s + "0#00"));
    const auto request = reader.next();
    ASSERT_TRUE(request);
    EXPECT_EQ(request->command, 'c');
    EXPECT_EQ(textOf(request->arguments), "\x01\0\0\0"s + "0");
    EXPECT_FALSE(reader.next());
}

TEST(RequestReader, UndoesEscapes) {
    RequestReader reader;
    reader.feed(bytesOf("$m}\x03}\x04}\x0A}]#00"));
    EXPECT_EQ(textOf(reader.next()->arguments), "#$*}");
}

TEST(RequestReader, PiecesMakeNoDifference) {
    const Bytes frames = bytesOf("$v#00$?\x05\0\0\0"s + "#00$D#00");
    RequestReader reader;
    std::string commands;
    for (const std::uint8_t byte : frames) {
        reader.feed(std::span(&byte, 1));
        while (const auto request = reader.next()) {
            commands += request->command;
        }
    }
    EXPECT_EQ(commands, "v?D");
    RequestReader whole;
    whole.feed(frames);
    EXPECT_EQ(whole.next()->command, 'v');
    EXPECT_EQ(whole.next()->command, '?');
    EXPECT_EQ(whole.next()->command, 'D');
}

TEST(RequestReader, WaitsForTheTwoCharactersAfterTheEnd) {
    RequestReader reader;
    reader.feed(bytesOf("$v#0"));
    EXPECT_FALSE(reader.next());
    reader.feed(bytesOf("0"));
    EXPECT_TRUE(reader.next());
}

TEST(RequestReader, SkipsWhatStandsInFrontAndKnowsAnEmptyBody) {
    RequestReader reader;
    reader.feed(bytesOf("xyz$s#00$#00#00"));
    EXPECT_EQ(reader.next()->command, 's');
    EXPECT_EQ(reader.next()->command, 0);
    EXPECT_EQ(reader.next()->command, 0);
}

TEST(ArgumentReader, NumbersAreLittleEndianAndShortOnesAreNone) {
    const Bytes bytes = bytesOf("\x78\x56\x34\x12\xFF\xFF");
    ArgumentReader reader(bytes);
    EXPECT_EQ(reader.u32(), 0x12345678U);
    EXPECT_EQ(reader.u32(), std::nullopt);
    EXPECT_EQ(reader.left().size(), 2U);
}

TEST(ReplyWriter, AnswersAreMarkerPayloadAndEnd) {
    ReplyWriter reply;
    reply.ok();
    reply.u32(1);
    EXPECT_EQ(textOf(reply.finish()), "$OK\x01\0\0\0#00"s);
}

TEST(ReplyWriter, PayloadIsEscapedAndMarkersAreNot) {
    ReplyWriter reply;
    reply.ok();
    reply.bytes(bytesOf("a#b$c*d}e"));
    EXPECT_EQ(textOf(reply.finish()), "$OKa}\x03"s + "b}\x04" + "c}\x0A" + "d}]e#00");
}

TEST(ReplyWriter, DataRecordsCarryTypeSizeAndBytes) {
    ReplyWriter reply;
    reply.data(bytesOf("xyz"));
    reply.ok();
    EXPECT_EQ(textOf(reply.finish()), "$cb\x62\x1E\0\0\x03\0\0\0xyz$OK#00"s);
}

TEST(ReplyWriter, NumbersInRecordsAreEscapedToo) {
    ReplyWriter reply;
    reply.data(Bytes(35, 'a')); // 35 is '#'
    reply.ok();
    EXPECT_EQ(textOf(reply.finish()), "$cb\x62\x1E\0\0}\x03\0\0\0"s + std::string(35, 'a') + "$OK#00");
}

TEST(ReplyWriter, ErrorRecordsCarryCodeAndBothTexts) {
    ReplyWriter reply;
    reply.error(7, "one", "");
    reply.ok();
    EXPECT_EQ(textOf(reply.finish()), "$cb\x63\x1E\0\0\x07\0\0\0\x03\0\0\0one\0\0\0\0$OK#00"s);
}

TEST(ReplyWriter, StatusRecordsCarryTheirValue) {
    ReplyWriter reply;
    reply.status(0);
    reply.ok();
    EXPECT_EQ(textOf(reply.finish()), "$cb\x64\x1E\0\0\0\0\0\0$OK#00"s);
}

TEST(ReplyWriter, FailuresComeWithAndWithoutText) {
    ReplyWriter reply;
    reply.failure();
    EXPECT_EQ(textOf(reply.finish()), "$E#00");
    reply.failure("no #1");
    EXPECT_EQ(textOf(reply.finish()), "$errno  1#00");
}

} // namespace
} // namespace bench
