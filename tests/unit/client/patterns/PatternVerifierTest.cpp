#include "tests/unit/client/patterns/PatternSupport.h"

namespace pattern_test {

namespace {

/// One data pin, so that the pattern is 0x5555 throughout.
class PatternVerifierTest : public testing::Test {
protected:
    void feedPacket(const Packet& packet) { verifier.checkPacket(next++, packet); }
    void feed(const Words& begin, std::uint16_t trailer = traceTrailer) { feedPacket(packetOf(begin, trailer)); }
    /// Data, sync and zero words.
    std::vector<std::uint32_t> words() const {
        const auto& c = verifier.counts();
        return {c.dataWords, c.syncWords, c.zeroWords};
    }

    std::unique_ptr<Pattern> pattern = makePattern("f0", 1);
    PatternVerifier verifier{*pattern, FrameFormat::TenBitPackets};
    std::uint32_t next = 0;
};

const Words zeros5{0, 0, 0, 0, 0};

Words join(std::initializer_list<Words> parts) {
    Words all;
    for (const Words& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

} // namespace

using testing::ElementsAre;

TEST_F(PatternVerifierTest, APlainPacketIs255WordsOfThePattern) {
    feed(Words{});
    EXPECT_THAT(words(), ElementsAre(255u, 0u, 0u));
    EXPECT_FALSE(verifier.failed());
    EXPECT_EQ(verifier.counts().tracePackets, 1u);
}

TEST_F(PatternVerifierTest, TheTrailerIsNeitherCheckedNorCounted) {
    feed(Words{}, 0x0FFF);
    feed(Words{}, 0x0800);
    EXPECT_FALSE(verifier.failed());
    EXPECT_THAT(words(), ElementsAre(510u, 0u, 0u));
}

TEST_F(PatternVerifierTest, TheVeryFirstWordIsNotChecked) {
    feed({0x1234});
    // It becomes the one that the next is compared with, which is taken on trust, too: the lock begins there.
    EXPECT_FALSE(verifier.failed());
    EXPECT_THAT(words(), ElementsAre(255u, 0u, 0u));
}

TEST_F(PatternVerifierTest, AWrongWordIsOneErrorAtItsPlace) {
    feed({0x5555, 0x5555, 0x5555, 0x5545});
    EXPECT_EQ(verifier.report(), "failed to verify pattern : data errors in packet 0, [003]=0x5545");
}

TEST_F(PatternVerifierTest, ThePatternGoesOnFromPacketToPacket) {
    feed(Words{});
    feed({0x5554});
    EXPECT_EQ(verifier.report(), "failed to verify pattern : data errors in packet 1, [000]=0x5554");
}

TEST_F(PatternVerifierTest, ASynchronisationSequenceIsSevenWords) {
    feed(join({{0x5555}, zeros5, {0x0FF0, 0x1234}}));
    EXPECT_THAT(words(), ElementsAre(248u, 7u, 0u));
    EXPECT_FALSE(verifier.failed());
}

TEST_F(PatternVerifierTest, EveryPayloadWordIsCountedOnce) {
    feed(join({{0x5555}, zeros5, {0x0FF0, 0x1234}, {0x5555, 0, 0x5555}, zeros5, {0x0FF0, 0xFFFF}}));
    const auto& c = verifier.counts();
    EXPECT_EQ(c.dataWords + c.syncWords + c.zeroWords, 255u);
    EXPECT_EQ(c.zeroWords, 1u);
}

TEST_F(PatternVerifierTest, MoreThanFiveZerosSynchroniseToo) {
    feed(join({{0x5555}, zeros5, {0, 0}, {0x0FF0, 0x1234}}));
    EXPECT_THAT(words(), ElementsAre(246u, 7u, 2u));
    EXPECT_FALSE(verifier.failed());
}

TEST_F(PatternVerifierTest, FourZerosAnd0FF0AreData) {
    feed({0x5555, 0x5555, 0, 0, 0, 0, 0x0FF0});
    EXPECT_THAT(words(), ElementsAre(251u, 0u, 4u));
    EXPECT_EQ(verifier.report(), "failed to verify pattern : data errors in packet 0, [006]=0x0ff0");
}

TEST_F(PatternVerifierTest, A0FF0InDataIsCheckedLikeAnyWordAlsoAtTheVeryStart) {
    const auto ff0 = makePattern("ff0", 4);
    PatternVerifier judge(*ff0, FrameFormat::TenBitPackets);
    Packet packet;
    for (std::size_t i = 0; i < packet.size(); ++i) {
        packet[i] = Words{0x0FF0, 0xFF0F, 0xF0FF}[i % 3];
    }
    packet.back() = traceTrailer;
    judge.checkPacket(0, packet);
    EXPECT_FALSE(judge.failed());
    EXPECT_EQ(judge.counts().dataWords, 255u);

    // At the very start there is nothing that it follows, but the lock begins with it: the second word is checked.
    PatternVerifier strict(*pattern, FrameFormat::TenBitPackets);
    strict.checkPacket(0, packetOf({0x0FF0, 0x5555}));
    EXPECT_EQ(strict.report(), "failed to verify pattern : data errors in packet 0, [001]=0x5555");
}

TEST_F(PatternVerifierTest, ZerosInDataDoNotBreakThePattern) {
    feed({0x5555, 0, 0x5555, 0, 0, 0, 0, 0, 0, 0x5555});
    EXPECT_FALSE(verifier.failed());
    EXPECT_THAT(words(), ElementsAre(248u, 0u, 7u));
}

TEST_F(PatternVerifierTest, TheWordAfterASequenceIsNotCheckedAndTheNextOneIs) {
    feed(join({{0x5555, 0x5555}, zeros5, {0x0FF0, 0x1234, 0x5554}}));
    EXPECT_EQ(verifier.report(), "failed to verify pattern : data errors in packet 0, [009]=0x5554");
}

TEST_F(PatternVerifierTest, AZeroAfterASequenceIsAnErrorAndKeepsTheRun) {
    feed(join({{0x5555}, zeros5, {0x0FF0, 0, 0x0FF0, 0x1234}}));
    // The zero is an error, but the run of five before it is not forgotten: the second 0x0FF0 synchronises again.
    EXPECT_EQ(verifier.report(), "failed to verify pattern : data errors in packet 0, [007]=0x0000");
    EXPECT_THAT(words(), ElementsAre(246u, 14u, 1u));
}

TEST_F(PatternVerifierTest, A0FF0AfterASequenceIsAnErrorAndTheNextWordStillUnchecked) {
    feed(join({{0x5555, 0x5555}, zeros5, {0x0FF0, 0x0FF0, 0x0FF0, 0x1234}}));
    EXPECT_EQ(verifier.report(), "failed to verify pattern : data errors in packet 0, [008]=0x0ff0, [009]=0x0ff0");
    EXPECT_THAT(words(), ElementsAre(246u, 7u, 0u));
}

TEST_F(PatternVerifierTest, ARunOfZerosGoesOnAcrossPackets) {
    Packet end = packetOf({});
    std::fill(end.end() - 4, end.end() - 1, std::uint16_t{0});
    feedPacket(end);
    feed({0, 0, 0x0FF0, 0x1234});
    EXPECT_FALSE(verifier.failed());
    EXPECT_EQ(verifier.counts().syncWords, 7u);
    EXPECT_EQ(verifier.counts().zeroWords, 0u);
}

TEST_F(PatternVerifierTest, ATrailerCanCutARunOfZeros) {
    for (const int lowByte : {0x00, 0x10, 0xFE}) {
        PatternVerifier judge(*pattern, FrameFormat::TenBitPackets);
        Packet end = packetOf({}, static_cast<std::uint16_t>(0x0800 | lowByte));
        std::fill(end.end() - 4, end.end() - 1, std::uint16_t{0});
        judge.checkPacket(0, end);
        judge.checkPacket(1, packetOf({0, 0, 0x0FF0, 0x5555}));
        EXPECT_EQ(judge.report(), "failed to verify pattern : data errors in packet 1, [002]=0x0ff0");
        EXPECT_EQ(judge.counts().zeroWords, 5u);
    }
}

TEST_F(PatternVerifierTest, OtherPacketsAreSkippedAndCounted) {
    feed(Words{});
    feed(Words{0x1111, 0x2222}, otherTrailer);
    feed(Words{});
    EXPECT_FALSE(verifier.failed());
    EXPECT_EQ(verifier.counts().otherPackets, 1u);
    EXPECT_EQ(verifier.counts().tracePackets, 2u);
    EXPECT_THAT(words(), ElementsAre(510u, 0u, 0u));
}

TEST_F(PatternVerifierTest, PacketsOfNoTypeAreReported) {
    for (const int trailer : {0x0000, 0x1800, 0x2000, 0x8800, 0xF8FF}) {
        feed(Words{}, static_cast<std::uint16_t>(trailer));
    }
    EXPECT_TRUE(verifier.failed());
    EXPECT_EQ(verifier.report(), "failed to verify pattern : invalid packet types, 0, 1, 2, 3, 4");
    feed(Words{}, invalidTrailer);
    EXPECT_EQ(verifier.report(), "failed to verify pattern : invalid packet types, 0, 1, 2, 3, 4");
    EXPECT_EQ(verifier.counts().tracePackets, 0u);
}

TEST_F(PatternVerifierTest, APatternThatCannotBeVerifiedFailsAtTheFirstCheck) {
    const auto lfsr = makePattern("lfsr", 4);
    PatternVerifier judge(*lfsr, FrameFormat::TenBitPackets);
    EXPECT_THROW(judge.checkPacket(0, packetOf({1, 2})), Exception);
    // The very first word is not checked; a packet of nothing but zeros is not either.
    PatternVerifier zeros(*lfsr, FrameFormat::TenBitPackets);
    Packet none{};
    none.back() = traceTrailer;
    zeros.checkPacket(0, none);
    EXPECT_EQ(zeros.counts().zeroWords, 255u);
}

TEST_F(PatternVerifierTest, OtherFormatsAreRefused) {
    try {
        const PatternVerifier judge(*pattern, static_cast<FrameFormat>(2));
        ADD_FAILURE() << "nothing was thrown";
    } catch (const Exception& e) {
        EXPECT_EQ(e.status(), eFAIL);
        EXPECT_EQ(std::string(e.detail()), "invalid frame format");
        EXPECT_EQ(std::string(e.file()), "orv_client_utilities");
    }
}

// ---- PWords ----

TEST_F(PatternVerifierTest, PWordsCheckAll256WordsAndKnowNoSequences) {
    const auto any = makePattern("none", 1);
    PatternVerifier judge(*any, FrameFormat::PWords);
    judge.checkPacket(0, packetOf(join({zeros5, {0x0FF0}}), 0));
    EXPECT_FALSE(judge.failed());
    EXPECT_EQ(judge.counts().dataWords, 256u);
    EXPECT_EQ(judge.counts().syncWords + judge.counts().zeroWords, 0u);
    EXPECT_EQ(judge.counts().tracePackets, 1u);
}

TEST_F(PatternVerifierTest, PWordsCheckTheLastWordToo) {
    PatternVerifier judge(*pattern, FrameFormat::PWords);
    judge.checkPacket(0, packetOf({}, 0x5555));
    judge.checkPacket(1, packetOf({}, 0x5557));
    EXPECT_EQ(judge.report(), "failed to verify pattern : data errors in packet 1, [255]=0x5557");
}

TEST_F(PatternVerifierTest, PWordsTrustTheFirstWordAndCheckTheSecond) {
    PatternVerifier judge(*pattern, FrameFormat::PWords);
    judge.checkPacket(0, packetOf({0x5553, 0x5555}, 0x5555));
    EXPECT_EQ(judge.report(), "failed to verify pattern : data errors in packet 0, [001]=0x5555");
}

// ---- the report ----

namespace {

/// A packet with single wrong words at these places, each followed by right ones.
Packet withErrorsAt(const std::vector<std::size_t>& places) {
    Packet packet = packetOf({});
    for (const std::size_t place : places) {
        packet[place] = static_cast<std::uint16_t>(0x1000 + place);
    }
    return packet;
}

} // namespace

TEST_F(PatternVerifierTest, TheReportStopsBetweenPacketsAtFiveItems) {
    feed(Words{});
    feedPacket(withErrorsAt({10, 20}));
    feedPacket(withErrorsAt({30, 40}));
    feedPacket(withErrorsAt({50}));
    feedPacket(withErrorsAt({60}));
    feed(Words{}, invalidTrailer);
    EXPECT_EQ(verifier.report(), "failed to verify pattern"
                                 " : data errors in packet 1, [010]=0x100a, [020]=0x1014"
                                 " : data errors in packet 2, [030]=0x101e, [040]=0x1028"
                                 " : data errors in packet 3, [050]=0x1032");
}

TEST_F(PatternVerifierTest, ASixthItemStandsOnlyInThePacketOfTheFifth) {
    feedPacket(withErrorsAt({10, 20, 30, 40}));
    feedPacket(withErrorsAt({50, 60, 70}));
    feedPacket(withErrorsAt({80}));
    EXPECT_EQ(verifier.report(), "failed to verify pattern"
                                 " : data errors in packet 0, [010]=0x100a, [020]=0x1014, [030]=0x101e, [040]=0x1028"
                                 " : data errors in packet 1, [050]=0x1032, [060]=0x103c, [070]=0x1046");
}

TEST_F(PatternVerifierTest, InvalidPacketsFillUpTheReport) {
    feedPacket(withErrorsAt({10, 20}));
    for (int i = 0; i < 5; ++i) {
        feed(Words{}, invalidTrailer);
    }
    EXPECT_EQ(verifier.report(), "failed to verify pattern"
                                 " : data errors in packet 0, [010]=0x100a, [020]=0x1014"
                                 " : invalid packet types, 1, 2, 3");
}

TEST_F(PatternVerifierTest, OnlyTheFirstTenErrorsAreKept) {
    feedPacket(withErrorsAt({10, 20, 30, 40, 50, 60, 70, 80, 90, 100, 110, 120}));
    EXPECT_EQ(verifier.report(), "failed to verify pattern : data errors in packet 0, [010]=0x100a, [020]=0x1014, "
                                 "[030]=0x101e, [040]=0x1028, [050]=0x1032, [060]=0x103c, [070]=0x1046, [080]=0x1050, "
                                 "[090]=0x105a, [100]=0x1064");
}

TEST_F(PatternVerifierTest, AfterTenErrorsInvalidPacketsStillCountAfterElevenNoMore) {
    // With eleven errors recorded an invalid packet is ignored; that shows in the report only when no error does,
    // so all errors of this verifier are in one packet after an invalid one.
    feed(Words{}, invalidTrailer);
    feedPacket(withErrorsAt({10, 20, 30}));
    feed(Words{}, invalidTrailer);
    feedPacket(withErrorsAt({10, 20, 30, 40, 50, 60, 70, 80}));
    feed(Words{}, invalidTrailer);
    EXPECT_EQ(verifier.invalid(), (std::vector<std::uint32_t>{0, 2}));
    PatternVerifier ten(*pattern, FrameFormat::TenBitPackets);
    ten.checkPacket(0, withErrorsAt({10, 20, 30, 40, 50, 60, 70, 80, 90, 100}));
    ten.checkPacket(1, packetOf({}, invalidTrailer));
    EXPECT_EQ(ten.invalid(), (std::vector<std::uint32_t>{1}));
}

} // namespace pattern_test
