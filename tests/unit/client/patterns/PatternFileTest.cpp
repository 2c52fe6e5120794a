#include "tests/unit/client/patterns/PatternSupport.h"

#include <filesystem>
#include <utility>

namespace pattern_test {

namespace {

class PatternFileTest : public testing::Test {
protected:
    Outcome verify(const std::vector<Packet>& packets, std::uint32_t first = 0, std::uint32_t count = 0) {
        writeBytes(path, bytesOf(packets));
        return verifyFile(*pattern, path, first, count);
    }
    static Outcome good(std::uint32_t trace, std::uint32_t other, std::uint32_t data, std::uint32_t sync = 0,
                        std::uint32_t zero = 0) {
        return {trace, other, data, sync, zero, 0, ""};
    }
    /// On failure the last three counts stay as the caller had them.
    static Outcome bad(std::uint32_t trace, std::uint32_t other, Status status, const std::string& text) {
        Outcome o;
        o.tracePackets = trace;
        o.otherPackets = other;
        o.status = status;
        o.text = text;
        return o;
    }

    TemporaryFolder folder;
    std::string path = folder.file("run.ver");
    std::unique_ptr<Pattern> pattern = makePattern("f0", 1);
};

} // namespace

TEST_F(PatternFileTest, TenBitPacketsAreRecognisedByTheirTrailers) {
    EXPECT_THAT(verify({packetOf({}), packetOf({}), packetOf({}), packetOf({}, otherTrailer), packetOf({})}),
                good(4, 1, 4 * 255));
}

TEST_F(PatternFileTest, WithoutTrailersTheyArePWords) {
    EXPECT_EQ(verify(std::vector<Packet>(5, packetOf({}, 0x5555))), good(5, 0, 5 * 256));
}

TEST_F(PatternFileTest, ExactlyHalfTheTrailersMakePWords) {
    // Four packets, two of them with trailers, none of those the last, which has no vote.
    const Packet plain = packetOf({}, 0x5555);
    const Outcome half = verify({packetOf({}), packetOf({}), plain, plain});
    EXPECT_THAT(half.text, testing::StartsWith("failed to verify pattern : data errors in packet 0, [255]="));
    // One more makes three of four.
    EXPECT_EQ(verify({packetOf({}), packetOf({}), packetOf({}), packetOf({})}), good(4, 0, 4 * 255));
    // Of five packets half is two, so three are more than half.
    EXPECT_EQ(verify({packetOf({}), packetOf({}), packetOf({}, otherTrailer), plain, packetOf({})}).text,
              "failed to verify pattern : invalid packet types, 3");
}

TEST_F(PatternFileTest, TheLastPacketHasNoVote) {
    const Packet plain = packetOf({}, 0x5555);
    // Three trailers of four, but one of them is the last one's.
    EXPECT_THAT(verify({packetOf({}), plain, packetOf({}), packetOf({})}).text,
                testing::StartsWith("failed to verify pattern : data errors in packet 0,"));
}

TEST_F(PatternFileTest, UpToTwoPacketsAreAlwaysPWords) {
    EXPECT_THAT(verify({packetOf({}, 0x5555)}), good(1, 0, 256));
    EXPECT_EQ(verify({packetOf({}, 0x5555), packetOf({}, 0x5555)}), good(2, 0, 512));
    EXPECT_EQ(verify({packetOf({}), packetOf({})}).text,
              "failed to verify pattern : data errors in packet 0, [255]=0x08ff"
              " : data errors in packet 1, [255]=0x08ff");
}

TEST_F(PatternFileTest, AnEmptyFileHasNothingToVerify) {
    EXPECT_EQ(verify({}), good(0, 0, 0));
    EXPECT_EQ(verify({}, 0, 512), bad(0, 0, eVALUE, "invalid verification file size"));
    EXPECT_EQ(verify({}, 0, 1), bad(0, 0, eVALUE, "invalid verification file size"));
}

TEST_F(PatternFileTest, MoreThanThereIsCannotBeVerified) {
    const std::vector<Packet> packets(5, packetOf({}));
    EXPECT_EQ(verify(packets, 0, 5), good(5, 0, 5 * 255));
    EXPECT_EQ(verify(packets, 0, 6), bad(0, 0, eVALUE, "invalid verification file size"));
    EXPECT_EQ(verify(packets, 1, 5), bad(0, 0, eVALUE, "invalid verification file size"));
}

TEST_F(PatternFileTest, AFirstPacketPastTheEndLeavesNothing) {
    const std::vector<Packet> packets(5, packetOf({}));
    for (const std::uint32_t first : {5u, 6u, 8388608u, 0xFFFFFFFFu}) {
        EXPECT_EQ(verify(packets, first, 0), good(0, 0, 0)) << first;
        EXPECT_EQ(verify(packets, first, 1), bad(0, 0, eVALUE, "invalid verification file size")) << first;
    }
}

TEST_F(PatternFileTest, APartOfTheFileIsNumberedAsInTheWhole) {
    std::vector<Packet> packets(6, packetOf({}));
    packets[0] = packetOf({1, 2, 3, 4});
    packets[4] = packetOf({0x5555, 0x5554});
    EXPECT_EQ(verify(packets, 1, 3), good(3, 0, 3 * 255));
    EXPECT_EQ(verify(packets, 1, 4),
              bad(4, 0, eVALUE, "failed to verify pattern : data errors in packet 4, [001]=0x5554"));
    EXPECT_EQ(verify(packets, 5, 0), good(1, 0, 255));
}

TEST_F(PatternFileTest, ARestOfLessThanAPacketIsLeftOut) {
    std::vector<std::uint8_t> bytes = bytesOf(std::vector<Packet>(5, packetOf({})));
    bytes.resize(bytes.size() + 511, 0xAA);
    writeBytes(path, bytes);
    EXPECT_EQ(verifyFile(*pattern, path), good(5, 0, 5 * 255));
    bytes.resize(511);
    writeBytes(path, bytes);
    EXPECT_EQ(verifyFile(*pattern, path), good(0, 0, 0));
}

TEST_F(PatternFileTest, PacketsAreCountedAlsoWhenTheyFail) {
    std::vector<Packet> packets(6, packetOf({}));
    packets[2] = packetOf({}, otherTrailer);
    packets[3] = packetOf({0x5554});
    packets[5] = packetOf({}, invalidTrailer);
    EXPECT_EQ(verify(packets), bad(4, 1, eVALUE,
                                   "failed to verify pattern : data errors in packet 3, [000]=0x5554"
                                   " : invalid packet types, 5"));
}

TEST_F(PatternFileTest, WordsAreLittleEndian) {
    std::vector<std::uint8_t> bytes;
    for (int i = 0; i < 256; ++i) {
        bytes.insert(bytes.end(), {0x0F, 0x12});
    }
    writeBytes(path, bytes);
    const auto wrong = makePattern("f0", 4);
    EXPECT_THAT(verifyFile(*wrong, path).text,
                testing::StartsWith("failed to verify pattern : data errors in packet 0, [001]=0x120f"));
}

TEST_F(PatternFileTest, ManyBlocksAreOneStream) {
    // More packets than are read at a time, with a ramp whose phase crosses every packet.
    const auto ramp = makePattern("ramp", 4);
    const Words words{0x0123, 0x4567, 0x89AB, 0xCDEF};
    std::vector<Packet> packets(2100);
    std::size_t phase = 0;
    for (Packet& packet : packets) {
        for (std::uint16_t& word : packet) {
            word = words[phase++ % 4];
        }
        --phase;
        packet.back() = traceTrailer;
    }
    writeBytes(path, bytesOf(packets));
    EXPECT_THAT(verifyFile(*ramp, path, 0, 512), good(512, 0, 512 * 255));
    packets[1500][17] ^= 0x0800;
    writeBytes(path, bytesOf(packets));
    EXPECT_EQ(verifyFile(*ramp, path, 0, 1500), good(1500, 0, 1500 * 255));
    EXPECT_THAT(verifyFile(*ramp, path).text,
                testing::StartsWith("failed to verify pattern : data errors in packet 1500, "));
}

TEST_F(PatternFileTest, AFileThatIsCutOffMeanwhileFailsAtThePacketThatIsMissing) {
    /// Cuts the file off at the first word that is checked.
    class Cutter : public Pattern {
    public:
        explicit Cutter(std::string file) : path(std::move(file)) {}
        double onesRatio() override { return 0.5; }
        bool check(std::uint16_t, std::uint16_t, bool&) override {
            if (!std::exchange(cut, true)) {
                std::filesystem::resize_file(path, 512);
            }
            return false;
        }

    private:
        std::string path;
        bool cut = false;
    };
    writeBytes(path, bytesOf(std::vector<Packet>(2100, packetOf({}))));
    Cutter cutter(path);
    const Outcome outcome = verifyFile(cutter, path);
    EXPECT_EQ(outcome.status, eFILE);
    EXPECT_EQ(outcome.text, "failed to read next packet of verification file");
}

TEST_F(PatternFileTest, AnLfsrEndsInItsFailure) {
    writeBytes(path, bytesOf(std::vector<Packet>(5, packetOf({}))));
    const auto lfsr = makePattern("lfsr", 4);
    EXPECT_EQ(verifyFile(*lfsr, path), bad(0, 0, eFAIL, "automatic lfsr pattern verification not supported"));
}

TEST_F(PatternFileTest, FilesThatCannotBeOpenedFail) {
    EXPECT_EQ(verifyFile(*pattern, folder.file("missing")), bad(0, 0, eFILE, "failed to open file for verification"));
    EXPECT_EQ(verifyFile(*pattern, ""), bad(0, 0, eFILE, "failed to open file for verification"));
    std::uint32_t a = 0, b = 0, c = 0, d = 0, e = 0;
    try {
        verifyPatternFile(*pattern, nullptr, 0, 0, a, b, c, d, e);
        FAIL() << "there is no path";
    } catch (const Exception& failure) {
        EXPECT_EQ(failure.status(), eFILE);
        EXPECT_STREQ(failure.detail(), "failed to open file for verification");
    }
}

TEST_F(PatternFileTest, AFolderIsNoFile) {
    EXPECT_EQ(verifyFile(*pattern, folder.path.string()).status, eFILE);
}

} // namespace pattern_test
