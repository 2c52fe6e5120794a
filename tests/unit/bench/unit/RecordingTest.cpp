#include "tests/unit/bench/unit/UnitFixture.h"

namespace bench {
namespace {

class Recording : public UnitFixture {
protected:
    // The payload of packets; their trailers must be those of trace.
    static std::vector<std::uint16_t> payloadOf(const std::vector<std::uint16_t>& words) {
        std::vector<std::uint16_t> payload;
        for (std::size_t index = 0; index < words.size(); ++index) {
            if (index % 256 == 255) {
                EXPECT_EQ(words[index], 0x08FF) << "packet " << index / 256;
            } else {
                payload.push_back(words[index]);
            }
        }
        return payload;
    }

    std::vector<std::uint16_t> sent(const std::string& pattern, std::size_t count) const {
        const unsigned every = scenario.kind == ExportKind::Pti ? scenario.transmitter.syncEvery : 0;
        const ContentPointer content =
            pattern == "none" ? makeGeneratedTrace(scenario.wiring.seed) : makePattern(*patternFromName(pattern), 4);
        std::vector<std::uint16_t> out(count);
        WordStream(content, every).fill(0, out);
        return out;
    }
};

TEST_F(Recording, PtiHasPacketsAndThePatternContinuesAcrossThemAndAcrossSequences) {
    recordFor(0.1, "ramp", smallest, 0);
    EXPECT_EQ(unit->status(), smallest);
    auto payload = payloadOf(wordsOf(fetchAll()));
    ASSERT_EQ(payload.size(), 512U * 255U);
    EXPECT_EQ(payload, sent("ramp", payload.size()));
    ASSERT_EQ(truths.size(), 1U);
    EXPECT_EQ(truths[0].pattern, "ramp");
    EXPECT_EQ(truths[0].pins.size(), 4U);
}

TEST_F(Recording, OnASlowMachineItBeginsWithTheFirstWordSentToo) {
    perLook = 20'000;
    recordFor(0.1, "none", smallest, 0);
    const auto payload = payloadOf(wordsOf(fetchAll()));
    EXPECT_EQ(payload, sent("none", payload.size()));
}

TEST_F(Recording, ASequenceIsNeverCutAtTheEndOfTheBuffer) {
    // A distance for which the last word that fits is a sequence's mark.
    for (unsigned every = 1; every < 3000 && scenario.transmitter.syncEvery != 0; ++every) {
        if ((512U * 255U) % (every + 7) == 6) {
            scenario.transmitter.syncEvery = every;
            break;
        }
    }
    ASSERT_EQ((512U * 255U) % (scenario.transmitter.syncEvery + 7), 6U);
    recordFor(0.1, "ramp", smallest, 0);
    const auto payload = payloadOf(wordsOf(fetchAll()));
    auto expected = sent("ramp", payload.size());
    ASSERT_EQ(expected.back(), syncMark);
    expected.back() = 0;
    EXPECT_EQ(payload, expected);
}

TEST_F(Recording, ASequenceIsNotCutWhereOnlyTheWiringChanges) {
    PinWiring pin;
    pin.emu = 1;
    pin.drift = 1e-6;
    scenario.wiring.pins = {pin};
    scenario.transmitter.syncEvery = 1; // one word in eight follows a mark
    make();
    setProcs(4);
    beginRecording(0x1000000, 0);
    program("none");
    for (int step = 0; step < 60; ++step) {
        pass(0.0201 + step * 17e-9);
        unit->status(); // a step of the drift
    }
    const auto payload = payloadOf(wordsOf(fetchAll()));
    EXPECT_EQ(payload, sent("none", payload.size()));
}

TEST_F(Recording, WithoutPacketsEveryWordIsPayload) {
    scenario.kind = ExportKind::Tpiu;
    recordFor(0.1, "ramp", smallest, 0, Framing::Words);
    const auto words = wordsOf(fetchAll());
    EXPECT_EQ(words.size(), smallest / 2);
    EXPECT_EQ(words, sent("ramp", words.size()));
}

TEST_F(Recording, ProtocolBypassMakesEveryWordPayloadToo) {
    scenario.kind = ExportKind::Tpiu;
    make();
    setProcs(4);
    program("f0");
    unit->openChannel(smallest, 0);
    unit->start();
    write(reg::stmControl(0), reg::captureEnableBit | reg::protocolBypassBit);
    write(reg::procFirst(0, 0), read(reg::procFirst(0, 0)) | reg::enableBit);
    pass(0.1);
    for (const std::uint16_t word : wordsOf(fetchAll())) {
        ASSERT_EQ(word, 0x0F0F);
    }
}

TEST_F(Recording, AFileComesBackUnchangedAfterItsIdleWords) {
    scenario.kind = ExportKind::Tpiu;
    std::vector<std::uint8_t> file;
    for (unsigned index = 0; index < 10000; ++index) {
        file.push_back(static_cast<std::uint8_t>(hashOf(3, index)));
    }
    make(file);
    setProcs(4);
    beginRecording(smallest, 0, Framing::Words);
    program("none");
    pass(0.1);
    const auto bytes = fetchAll();
    const auto start = bytes.begin() + 2 * static_cast<std::ptrdiff_t>(scenario.transmitter.idleBefore);
    EXPECT_TRUE(std::equal(file.begin(), file.end(), start));
    EXPECT_EQ(bytes.front(), 0);
    EXPECT_EQ(bytes.back(), 0);
}

TEST_F(Recording, TheBufferFillsAtTheDataRate) {
    scenario.transmitter.frequencies = {10e6};
    scenario.kind = ExportKind::Tpiu;
    // 10 MHz, both edges, 4 pins: 10 million bytes a second.
    recordFor(0.1, "none", 0x400000, 0, Framing::Words);
    EXPECT_EQ(unit->status(), 1000000U / 16384 * 16384);
    scenario.server.speed = 4.0;
    recordFor(0.1, "none", 0x400000, 0, Framing::Words);
    EXPECT_EQ(unit->status(), 4000000U / 16384 * 16384);
}

TEST_F(Recording, AStopPadsTheLastBlock) {
    recordFor(0.0001, "ramp", smallest, 0); // about 5000 bytes
    EXPECT_EQ(unit->status(), 0U);
    unit->stop();
    EXPECT_EQ(unit->status(), 16384U);
    const auto words = wordsOf(fetchAll());
    ASSERT_EQ(words.size(), 8192U);
    EXPECT_EQ(words[255], 0x08FF);
    EXPECT_EQ(words.back(), 0x10FF) << "packets that hold no trace are of another type";
    EXPECT_EQ(words[words.size() - 2], 0);
}

TEST_F(Recording, AFullBufferStopsTheCaptureAndReportsItOnceBeforeAStatusReply) {
    recordFor(0.001, "ramp", smallest, 0);
    unit->deliver(*this, Unit::Before::StatusReply);
    EXPECT_TRUE(statuses.empty());
    pass(0.1);
    unit->deliver(*this, Unit::Before::OtherReply);
    EXPECT_TRUE(statuses.empty()) << "only before a status reply";
    unit->deliver(*this, Unit::Before::StatusReply);
    EXPECT_EQ(statuses, std::vector<std::uint32_t>{0});
    unit->deliver(*this, Unit::Before::StatusReply);
    EXPECT_EQ(statuses.size(), 1U);
    EXPECT_FALSE(read(reg::bufferStatus) & reg::wrappedBit);
}

TEST_F(Recording, AWrappingBufferKeepsTheNewestButOneBlock) {
    scenario.kind = ExportKind::Tpiu;
    recordFor(0.001, "none", smallest, 1, Framing::Words);
    EXPECT_FALSE(read(reg::bufferStatus) & reg::wrappedBit);
    pass(0.0201);
    EXPECT_TRUE(read(reg::bufferStatus) & reg::wrappedBit);
    EXPECT_EQ(unit->status(), smallest - 16384);
    unit->deliver(*this, Unit::Before::StatusReply);
    EXPECT_TRUE(statuses.empty());
    const auto words = wordsOf(fetchAll());
    ASSERT_EQ(words.size(), (smallest - 16384) / 2);
    EXPECT_TRUE(read(reg::bufferStatus) & reg::wrappedBit);
    // 21.1 ms at 50 million bytes a second; the rest of the last block is empty.
    const std::size_t recorded = static_cast<std::size_t>(0.0211 * 50e6 / 2);
    const std::size_t blocks = (recorded + 8191) / 8192;
    const std::size_t firstWord = blocks * 8192 - words.size();
    const auto all = sent("none", recorded + 10);
    for (std::size_t index = 0; firstWord + index + 2 < recorded; ++index) {
        ASSERT_EQ(words[index], all[firstWord + index]) << index;
    }
    EXPECT_EQ(words.back(), 0);
}

TEST_F(Recording, DataFollowOnlyARequestAndNeverExceedIt) {
    recordFor(0.1, "ramp", smallest, 0);
    unit->stop();
    unit->deliver(*this, Unit::Before::StatusReply);
    EXPECT_TRUE(data.empty());
    unit->request(16384);
    EXPECT_EQ(unit->status(), smallest);
    unit->deliver(*this, Unit::Before::OtherReply);
    EXPECT_EQ(data.size(), 16384U);
    EXPECT_EQ(unit->status(), smallest - 16384);
    unit->deliver(*this, Unit::Before::StatusReply);
    EXPECT_EQ(data.size(), 16384U);
    unit->request(smallest);
    unit->deliver(*this, Unit::Before::StatusReply, 0x8000);
    EXPECT_EQ(data.size(), 16384U + 0x8000U);
    EXPECT_NE(unit->status(), 0U) << "requested data are on their way";
    unit->deliver(*this, Unit::Before::StatusReply);
    EXPECT_EQ(data.size(), smallest);
    EXPECT_EQ(unit->status(), 0U);
}

TEST_F(Recording, NothingIsDeliveredWithoutAChannel) {
    recordFor(0.1, "ramp", smallest, 0);
    unit->status();
    unit->request(16384);
    unit->closeChannel();
    unit->deliver(*this, Unit::Before::StatusReply);
    EXPECT_TRUE(data.empty() && statuses.empty());
    EXPECT_EQ(unit->status(), 0U);
    EXPECT_THROW(unit->start(), UnitError);
    EXPECT_THROW(unit->openChannel(100, 0), UnitError);
    EXPECT_THROW(unit->openChannel(0, 0), UnitError);
}

TEST_F(Recording, CancelAndFlushDiscard) {
    make();
    setProcs(4);
    for (const bool flush : {false, true}) {
        beginRecording(smallest, 0);
        program("ramp");
        pass(0.1);
        unit->stop();
        unit->request(smallest);
        if (flush) {
            unit->flush();
        } else {
            unit->cancel();
        }
        EXPECT_EQ(unit->status(), 0U);
        unit->deliver(*this, Unit::Before::StatusReply);
        EXPECT_TRUE(data.empty());
    }
}

TEST_F(Recording, PeekReturnsTheNextBytesAndKeepsThem) {
    recordFor(0.1, "ramp", smallest, 0);
    unit->stop();
    unit->request(16384 + 100);
    unit->deliver(*this, Unit::Before::OtherReply);
    const auto peeked = unit->peek(300);
    ASSERT_EQ(peeked.size(), 300U);
    data.clear();
    unit->request(300);
    unit->deliver(*this, Unit::Before::OtherReply);
    EXPECT_EQ(peeked, data);
}

TEST_F(Recording, NothingIsRecordedWithoutCaptureEnableClockEnableOrTransmitter) {
    for (int missing = 0; missing < 3; ++missing) {
        make();
        setProcs(4);
        unit->openChannel(smallest, 0);
        unit->start();
        write(reg::stmControl(0), missing == 0 ? 0 : 1);
        write(reg::procFirst(0, 0), 0x0400 | (missing == 1 ? 0 : reg::enableBit));
        if (missing != 2) {
            program("ramp");
        }
        pass(0.1);
        unit->stop();
        EXPECT_EQ(unit->status(), 0U) << missing;
    }
    EXPECT_TRUE(truths.empty());
}

TEST_F(Recording, AfterTheTransmittersShutdownThereAreNoWords) {
    recordFor(0.0002, "ramp", smallest, 0);
    unit->shutdownTarget();
    pass(1.0);
    unit->stop();
    EXPECT_EQ(unit->status(), 16384U);
}

TEST_F(Recording, TheRecordingBeginsWithASequenceWhenTheTargetWasSendingAlready) {
    make();
    setProcs(4);
    program("ramp");
    pass(0.01234567);
    beginRecording(smallest, 0);
    pass(0.1);
    const auto payload = payloadOf(wordsOf(fetchAll()));
    EXPECT_EQ(std::vector<std::uint16_t>(payload.begin(), payload.begin() + 7),
              std::vector<std::uint16_t>(syncSequence.begin(), syncSequence.end()));
}

TEST_F(Recording, TheUnitsOwnGeneratorIsRecordedFromItsStart) {
    PinWiring stuck;
    stuck.emu = 1;
    stuck.stuck = 0;
    scenario.wiring.pins.push_back(stuck); // without effect here
    make();
    setProcs(4);
    beginRecording(smallest, 0);
    write(reg::patternControl, 0x0730);
    pass(0.1);
    const auto payload = payloadOf(wordsOf(fetchAll()));
    EXPECT_EQ(std::vector<std::uint16_t>(payload.begin(), payload.begin() + 5),
              (std::vector<std::uint16_t>{0x1234, 0x5678, 0x9ABC, 0xDEF0, 0x1234}));
    EXPECT_EQ(truths.at(0).pattern, "ramp1");
    EXPECT_FALSE(truths[0].pins[0].emu.has_value());
}

TEST_F(Recording, AStuckOrSwappedPinDamagesTheWords) {
    PinWiring pin;
    pin.emu = 4;
    pin.stuck = 1;
    scenario.wiring.pins = {pin};
    recordFor(0.1, "ramp", smallest, 0);
    auto payload = payloadOf(wordsOf(fetchAll()));
    EXPECT_EQ(payload[7], 0x89AB) << "0x0123 with every top bit set";
    pin.stuck.reset();
    pin.swappedWith = 1;
    scenario.wiring.pins = {pin};
    recordFor(0.1, "ramp", smallest, 0);
    payload = payloadOf(wordsOf(fetchAll()));
    EXPECT_EQ(payload[7], 0x082A) << "0, 1, 2, 3 with the outer bits exchanged";
}

TEST_F(Recording, AllPinsLateByAWholeBitAreNoErrorOneLatePinIs) {
    scenario.transmitter.frequencies = {50e6};
    make();
    setProcs(4, {0, 14, 14, 14, 14});
    beginRecording(smallest, 0);
    program("ramp");
    pass(0.1);
    auto payload = payloadOf(wordsOf(fetchAll()));
    EXPECT_EQ(payload, sent("ramp", payload.size()));
    setProcs(4, {0, 0, 0, 0, 14});
    beginRecording(smallest, 0);
    program("ramp");
    pass(0.1);
    payload = payloadOf(wordsOf(fetchAll()));
    EXPECT_EQ(truths.back().pins[3].slot, -1);
    EXPECT_EQ(payload[8] & 0xEEEE, 0x4567 & 0xEEEE);
    // The lowest bits of ...3, 4, 5, 6, 7 are one group late.
    EXPECT_EQ(payload[8] & 0x1111, 0x1010);
}

TEST_F(Recording, TheLargestBufferIsNumberedWithoutAGap) {
    scenario.kind = ExportKind::Tpiu;
    scenario.wiring.jitter = 0.2;
    make();
    setProcs(4);
    constexpr std::uint32_t largest = 0x8000000;
    beginRecording(largest, 0, Framing::Words);
    program("none");
    pass(10.0);
    ASSERT_EQ(unit->status(), largest);
    unit->stop();
    const WordStream stream(makeGeneratedTrace(scenario.wiring.seed), 0);
    std::uint64_t at = 0;
    std::vector<std::uint16_t> expected;
    while (unit->status() != 0) {
        data.clear();
        unit->request(0x200000);
        unit->deliver(*this, Unit::Before::OtherReply);
        const auto words = wordsOf(data);
        expected.resize(words.size());
        stream.fill(at, expected);
        ASSERT_EQ(words, expected);
        at += words.size();
    }
    EXPECT_EQ(at, largest / 2);
    EXPECT_LE(largestRecord, Unit::recordBytes);
}

TEST_F(Recording, DriftAppearsInTheTruthOfALaterRecordingOnlyWhileTraceIsSent) {
    PinWiring pin;
    pin.emu = 1;
    pin.drift = 100.0;
    scenario.wiring.pins = {pin};
    make();
    setProcs(4);
    program("none");
    pass(0.03);
    EXPECT_NEAR(unit->segmentNow(0)->data[3].line.timing.skew, 3.0, 1e-6);
    program("ramp");
    pass(0.03);
    EXPECT_EQ(unit->segmentNow(0)->data[3].line.timing.skew, 0.0);
}

TEST_F(Recording, WiresThatStayAreWhereTraceHasMovedThemAlsoForAPattern) {
    PinWiring pin;
    pin.emu = 1;
    pin.drift = 100.0;
    scenario.wiring.pins = {pin};
    scenario.wiring.driftStays = true;
    make();
    setProcs(4);
    const auto skew = [&] { return unit->segmentNow(0)->data[3].line.timing.skew; };
    program("none");
    pass(0.03);
    unit->shutdownTarget();
    pass(0.03);
    program("ramp");
    EXPECT_NEAR(skew(), 3.0, 1e-6);
    pass(0.03);
    EXPECT_NEAR(skew(), 3.0, 1e-6) << "a pattern moves nothing";
    program("none");
    pass(0.01);
    EXPECT_NEAR(skew(), 4.0, 1e-6);
}

TEST_F(Recording, ImpossibleProgramsAreRefused) {
    make();
    EXPECT_THROW(unit->programTarget({"f0", 1, ExportKind::Pti, {0, 1}}), UnitError);
    EXPECT_THROW(unit->programTarget({"f0", 0, ExportKind::Pti, {0}}), UnitError);
    EXPECT_THROW(unit->programTarget({"noise", 0, ExportKind::Pti, {0, 1}}), UnitError);
    EXPECT_THROW(unit->programTarget({"ramp1", 0, ExportKind::Pti, {0, 1}}), UnitError);
}

} // namespace
} // namespace bench
