#include "fuzz/UnitMeasure.h"

#include "fuzz/Require.h"

#include <algorithm>
#include <array>

namespace fuzz {

namespace {

namespace reg = bench::reg;

constexpr std::array inputs{4U, 5U, 2U, 3U, 6U, 7U, 0U, 1U}; // of the clock and the data pins
constexpr std::uint64_t recordingTime = 200'000;             // nanoseconds

class Collector : public bench::RecordSink {
public:
    void onData(std::span<const std::uint8_t> data) override { bytes += data.size(); }
    void onStatus(std::uint32_t) override {}

    std::size_t bytes = 0;
};

void readBurst(bench::Unit& unit) {
    for (unsigned proc = 0; proc < inputs.size(); ++proc) {
        require(unit.read(reg::kindUnit, reg::fifoStatus(proc)) <= reg::fifoFull, "a FIFO has its size");
        unit.read(reg::kindUnit, reg::fifoData(proc));
    }
}

} // namespace

void enableInputs(bench::Unit& unit) {
    for (unsigned proc = 0; proc < inputs.size(); ++proc) {
        unit.write(reg::kindUnit, reg::procFirst(0, proc), reg::enableBit | inputs[proc] << 8);
    }
    unit.write(reg::kindUnit, reg::stmControl(0), reg::captureEnableBit);
}

void measure(bench::Unit& unit, std::uint64_t& now) {
    for (const std::uint32_t value : {0x001FU, 0x801FU, 0U}) {
        unit.write(reg::kindUnit, reg::capture, value);
    }
    unit.write(reg::kindUnit, reg::windowLow(0), 1000);
    unit.openChannel(2 * bench::blockBytes, 0);
    unit.start();
    now += recordingTime;
    readBurst(unit);
    unit.read(reg::kindUnit, reg::countLow(0));
    unit.stop();
    const std::uint32_t held = unit.status();
    require(held <= 2 * bench::blockBytes, "no more is held than the buffer has");
    require(unit.peek(512).size() == std::min(held, 512U), "a peek is as long as asked, as far as there is data");
    unit.request(4 * bench::blockBytes);
    Collector collector;
    unit.deliver(collector, bench::Unit::Before::OtherReply);
    require(collector.bytes == held, "all that is held is delivered");
}

} // namespace fuzz
