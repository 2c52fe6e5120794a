#include "bench/server/Service.h"

#include <gtest/gtest.h>

#include <string>

namespace bench {
namespace {

using namespace std::string_literals;

class ServiceTest : public testing::Test {
protected:
    std::string ask(const std::string& body) {
        RequestReader reader;
        reader.feed(bytesOf("$" + body + "#00"));
        const Bytes reply = service.answer(*reader.next());
        return {reply.begin(), reply.end()};
    }

    static Bytes bytesOf(const std::string& text) { return {text.begin(), text.end()}; }

    static std::string u32(std::uint32_t value) {
        std::string text;
        for (unsigned index = 0; index < 4; ++index) {
            text += static_cast<char>((value >> (8 * index)) & 0xFF);
        }
        return text;
    }

    void write(std::uint32_t address, std::uint32_t value) {
        ASSERT_EQ(ask("M" + u32(1) + u32(1) + u32(address) + u32(value)), "$OK#00");
    }

    std::uint64_t now = 0;
    Scenario scenario;
    Unit unit{scenario, [this] { return now; }};
    std::mutex mutex;
    Service service{unit, mutex, 1};
};

TEST_F(ServiceTest, TellsItsVersion) {
    EXPECT_EQ(ask("v"), "$OK\x01\0\0\0#00"s);
}

TEST_F(ServiceTest, AcceptsRepeatedConnectsAndDisconnects) {
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(ask("c" + u32(1) + "0"), "$OK#00");
    }
    EXPECT_EQ(ask("C"), "$OK#00");
    EXPECT_EQ(ask("c" + u32(2) + "0"), "$errmalformed request#00");
    EXPECT_EQ(ask("~"), "$OK#00");
}

TEST_F(ServiceTest, ReadsFillInTheValues) {
    EXPECT_EQ(ask("m" + u32(2) + u32(1) + u32(0x8000032) + u32(0) + u32(1) + u32(0x8000034) + u32(9)),
              "$OK" + u32(1) + u32(0x8000032) + u32(0x2FA) + u32(1) + u32(0x8000034) + u32(0x1503) + "#00");
}

TEST_F(ServiceTest, AnEmptyListIsReadAsNothing) {
    EXPECT_EQ(ask("m" + u32(0)), "$OK#00");
    EXPECT_EQ(ask("M" + u32(0)), "$OK#00");
}

TEST_F(ServiceTest, WritesReachTheUnit) {
    write(0x8008120, 0x4321);
    EXPECT_EQ(unit.read(1, 0x8008120), 0x4321U);
}

TEST_F(ServiceTest, ListsOfTheWrongLengthAreRefusedWhole) {
    EXPECT_EQ(ask("M" + u32(2) + u32(1) + u32(0x8008120) + u32(5)), "$errmalformed request#00");
    EXPECT_EQ(unit.read(1, 0x8008120), 0U);
    EXPECT_EQ(ask("m"), "$errmalformed request#00");
    EXPECT_EQ(ask("m" + u32(0x15555556)), "$errmalformed request#00") << "the product must not wrap";
    EXPECT_EQ(ask("o" + u32(0x40000)), "$errmalformed request#00");
    EXPECT_EQ(ask("?"), "$errmalformed request#00");
}

TEST_F(ServiceTest, AFifoIsReadInOneList) {
    for (const std::uint32_t value : {0x1FU, 0x801FU, 0U}) {
        write(0x8008206, value);
    }
    std::string request = "m" + u32(512);
    for (int index = 0; index < 512; ++index) {
        request += u32(1) + u32(0x800820E) + u32(0);
    }
    ask(request);
    EXPECT_EQ(unit.read(1, 0x800820C), 0U);
    EXPECT_EQ(unit.read(1, 0x8008214), 0x200U);
}

TEST_F(ServiceTest, ARecordingGoesThroughAllItsCommands) {
    EXPECT_EQ(ask("s"), "$errno channel is open#00");
    EXPECT_EQ(ask("o" + u32(0x40000) + u32(0)), "$OK#00");
    EXPECT_EQ(ask("x"), "$OK#00");
    EXPECT_EQ(ask("f"), "$OK#00");
    EXPECT_EQ(ask("s"), "$OK#00");
    write(0x800810C + 0, 0);
    write(0x8008100, 0x8500);
    write(0x8008050, 1);
    write(0x800811E, 0x8400);
    unit.programTarget({"f0", 0, ExportKind::Pti, {0, 1}});
    EXPECT_EQ(ask("?" + u32(0)), "$OK" + u32(0) + "#00");
    now += 1000000000;
    EXPECT_EQ(ask("?" + u32(0)), "$cb" + u32(7780) + u32(0) + "$OK" + u32(0x40000) + "#00");
    EXPECT_EQ(ask("S"), "$OK#00");
    const std::string peeked = ask("p" + u32(0) + u32(0) + u32(4) + "abcd");
    EXPECT_EQ(peeked, "$OK" + u32(4) + std::string(4, '\0') + "#00");
    const std::string reply = ask("r" + u32(16384));
    EXPECT_EQ(reply.substr(0, 11), "$cb" + u32(7778) + u32(16384));
    EXPECT_EQ(reply.substr(reply.size() - 6), "$OK#00");
    EXPECT_EQ(ask("?" + u32(0)), "$OK" + u32(0x40000 - 16384) + "#00");
    EXPECT_EQ(ask("O"), "$OK#00");
    EXPECT_EQ(ask("?" + u32(0)), "$OK" + u32(0) + "#00");
}

TEST_F(ServiceTest, GoodbyeHasNoReply) {
    EXPECT_FALSE(service.ended());
    EXPECT_EQ(ask("D"), "");
    EXPECT_TRUE(service.ended());
}

TEST_F(ServiceTest, UnknownCommandsFail) {
    EXPECT_EQ(ask("Z"), "$E#00");
}

} // namespace
} // namespace bench
