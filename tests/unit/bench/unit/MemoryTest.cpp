#include "bench/unit/Memory.h"
#include "tests/unit/bench/unit/UnitFixture.h"

namespace bench {
namespace {

using Bytes = std::vector<std::uint8_t>;

MemoryCell cell(std::uint64_t byte, unsigned bit, std::optional<unsigned> stuck = std::nullopt, std::uint64_t every = 0,
                std::uint64_t fromRecording = 1) {
    return {byte, every, bit, stuck, fromRecording};
}

Bytes spoiled(const std::vector<MemoryCell>& cells, Bytes bytes, std::uint64_t address = 0,
              std::uint64_t recording = 1) {
    Memory(cells, recording).spoil(address, bytes);
    return bytes;
}

TEST(Memory, WithoutDefectsChangesNothing) {
    Bytes bytes{1, 2, 3};
    Memory().spoil(0, bytes);
    EXPECT_EQ(bytes, (Bytes{1, 2, 3}));
}

TEST(Memory, ADefectiveBitReadsInvertedOrItsStuckLevel) {
    EXPECT_EQ(spoiled({cell(1, 3)}, {0, 0xFF, 0}), (Bytes{0, 0xF7, 0}));
    EXPECT_EQ(spoiled({cell(1, 3)}, {0, 0, 0}), (Bytes{0, 8, 0}));
    EXPECT_EQ(spoiled({cell(0, 7, 0)}, {0xFF, 0xFF}), (Bytes{0x7F, 0xFF}));
    EXPECT_EQ(spoiled({cell(0, 7, 0)}, {0x12}), (Bytes{0x12})) << "what it should read anyway";
    EXPECT_EQ(spoiled({cell(1, 0, 1)}, {0x12, 0x34, 0x12}), (Bytes{0x12, 0x35, 0x12}));
}

TEST(Memory, DefectiveBytesRepeatAtRegularDistances) {
    EXPECT_EQ(spoiled({cell(1, 0, std::nullopt, 3)}, Bytes(9)), (Bytes{0, 1, 0, 0, 1, 0, 0, 1, 0}));
    EXPECT_EQ(spoiled({cell(1, 0, std::nullopt, 1)}, Bytes(3)), (Bytes{0, 1, 1}));
}

TEST(Memory, DefectiveBytesAreFoundFromAnyAddress) {
    const std::vector<MemoryCell> cells{cell(5, 0, std::nullopt, 4), cell(6, 1)}; // 5, 9, 13 and so on, and 6
    Bytes whole(64);
    Memory(cells, 1).spoil(0, whole);
    for (std::size_t from = 0; from < whole.size(); ++from) {
        for (std::size_t size = 0; from + size <= whole.size(); ++size) {
            const auto begin = whole.begin() + static_cast<std::ptrdiff_t>(from);
            ASSERT_EQ(spoiled(cells, Bytes(size), from), Bytes(begin, begin + static_cast<std::ptrdiff_t>(size)))
                << size << " bytes from " << from;
        }
    }
}

TEST(Memory, ACellWorksUntilItsRecording) {
    EXPECT_EQ(spoiled({cell(0, 0, std::nullopt, 0, 3)}, Bytes(1), 0, 2), Bytes{0});
    EXPECT_EQ(spoiled({cell(0, 0, std::nullopt, 0, 3)}, Bytes(1), 0, 3), Bytes{1});
    EXPECT_EQ(spoiled({cell(0, 0, std::nullopt, 0, 3)}, Bytes(1), 0, 9), Bytes{1});
}

class BadMemory : public UnitFixture {
protected:
    enum Mode { StopWhenFull = 0, Wrap = 1 };

    Bytes recorded(double seconds, Mode mode = StopWhenFull) {
        beginRecording(smallest, mode);
        program("ramp");
        pass(seconds);
        Bytes bytes = fetchAll();
        unit->shutdownTarget();
        return bytes;
    }

    // The same recordings of a unit without defects.
    Bytes sound(double seconds, Mode mode = StopWhenFull) {
        const std::vector<MemoryCell> cells = std::move(scenario.unit.cells);
        scenario.unit.cells.clear();
        const std::uint64_t at = std::exchange(now, 1000);
        make();
        setProcs(4);
        Bytes bytes = recorded(seconds, mode);
        scenario.unit.cells = cells;
        now = at;
        return bytes;
    }

    static std::vector<std::size_t> differences(const Bytes& a, const Bytes& b) {
        std::vector<std::size_t> found;
        EXPECT_EQ(a.size(), b.size());
        for (std::size_t index = 0; index < std::min(a.size(), b.size()); ++index) {
            if (a[index] != b[index]) {
                found.push_back(index);
            }
        }
        return found;
    }
};

TEST_F(BadMemory, ChangesOnlyTheDefectiveBytes) {
    const Bytes good = sound(0.1);
    scenario.unit.cells = {cell(40000, 4), cell(100, 0, std::nullopt, 0x10000), cell(smallest, 0)};
    now = 1000;
    make();
    setProcs(4);
    const Bytes bad = recorded(0.1);
    EXPECT_EQ(differences(good, bad), (std::vector<std::size_t>{100, 40000, 0x10064, 0x20064, 0x30064}));
    EXPECT_EQ(bad.at(40000), good.at(40000) ^ 0x10);
}

TEST_F(BadMemory, AppearsInARequestOfAnySizeAndInAPeek) {
    const Bytes good = sound(0.1);
    scenario.unit.cells = {cell(20000, 4)};
    now = 1000;
    recordFor(0.1, "ramp", smallest, 0);
    unit->stop();
    data.clear();
    unit->request(19998);
    unit->deliver(*this, Unit::Before::OtherReply);
    EXPECT_EQ(unit->peek(4),
              (Bytes{good[19998], good[19999], static_cast<std::uint8_t>(good[20000] ^ 0x10), good[20001]}));
    unit->request(smallest - 19998);
    unit->deliver(*this, Unit::Before::OtherReply);
    EXPECT_EQ(differences(good, data), std::vector<std::size_t>{20000});
}

TEST_F(BadMemory, RecordingsAreCounted) {
    const Bytes good = sound(0.1);
    scenario.unit.cells = {cell(5, 0, std::nullopt, 0, 2)};
    now = 1000;
    make();
    setProcs(4);
    EXPECT_TRUE(differences(good, recorded(0.1)).empty());
    // A start without any word is no recording.
    unit->openChannel(smallest, 0);
    unit->start();
    pass(0.1);
    unit->stop();
    EXPECT_EQ(differences(good, recorded(0.1)), std::vector<std::size_t>{5});
    EXPECT_EQ(differences(good, recorded(0.1)), std::vector<std::size_t>{5});
}

TEST_F(BadMemory, ADefectAppearsOnceInEachRoundOfAWrappingBuffer) {
    // About two and a half rounds; all but the newest block are complete.
    const Bytes good = sound(0.0131, Wrap);
    scenario.unit.cells = {cell(0x8005, 0)};
    now = 1000;
    make();
    setProcs(4);
    const Bytes bad = recorded(0.0131, Wrap);
    ASSERT_EQ(bad.size(), smallest - 0x4000);
    // The first block left was overwritten last, so the offset of the defect moves with it.
    const std::vector<std::size_t> places = differences(good, bad);
    ASSERT_EQ(places.size(), 1U);
    EXPECT_EQ(places[0] % 0x4000, 5U);
    const std::uint64_t blocks = smallest / 0x4000;
    const std::uint64_t words = static_cast<std::uint64_t>(0.0131 * 25e6); // 32 packets of 255 in a block
    const std::uint64_t written = (words + 32 * 255 - 1) / (32 * 255);
    const std::uint64_t first = written - (blocks - 1);
    EXPECT_EQ((first + places[0] / 0x4000) % blocks, 2U) << "the cell lies in the third block of the memory";
}

TEST_F(BadMemory, ErrorRegistersCanWaitForARecording) {
    scenario.unit.errorA = 0x8000;
    scenario.unit.errorFrom = 2;
    make();
    setProcs(4);
    for (const std::uint32_t expected : {0U, 0x8000U, 0x8000U}) {
        beginRecording(smallest, 0);
        program("ramp");
        pass(0.001);
        EXPECT_EQ(read(reg::errorA(0)), expected);
        unit->stop();
        unit->shutdownTarget();
    }
}

} // namespace
} // namespace bench
