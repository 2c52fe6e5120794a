#pragma once

#include "bench/signal/Random.h"
#include "bench/unit/Unit.h"
#include "bench/wiring/Wiring.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <utility>
#include <vector>

namespace bench {

/// The smallest buffer of the unit, in bytes.
inline constexpr std::uint32_t smallest = 0x40000;

// A unit whose time the test controls, and the steps of every recording.
class UnitFixture : public testing::Test, public RecordSink {
protected:
    void make(std::optional<std::vector<std::uint8_t>> play = std::nullopt) {
        unit.emplace(scenario, [this] { return now += perLook; }, std::move(play));
        unit->onRecording = [this](const RecordingTruth& truth) { truths.push_back(truth); };
    }

    void pass(double seconds) { now += static_cast<std::uint64_t>(seconds * 1e9); }

    std::uint32_t read(reg::Address address) { return unit->read(reg::kindUnit, address); }
    void write(reg::Address address, std::uint32_t value) { unit->write(reg::kindUnit, address, value); }

    // The EMU pins of `pins` data pins: clock on 0, bit 0 on 1 and so on.
    static std::vector<unsigned> emuPins(unsigned pins) {
        std::vector<unsigned> emu;
        for (unsigned pin = 0; pin <= pins; ++pin) {
            emu.push_back(pin);
        }
        return emu;
    }

    // Proc 0 samples the clock, proc 1 the pin of the highest bit, and so on in descending order.
    void setProcs(unsigned pins, const std::vector<unsigned>& delays = {}, bool clockEnabled = false) {
        for (unsigned proc = 0; proc < reg::procs; ++proc) {
            const bool used = proc <= pins;
            const unsigned input = receiverInputOfEmu(proc == 0 || !used ? 0 : pins + 1 - proc);
            const unsigned delay = proc < delays.size() ? delays[proc] : 0;
            const bool enabled = proc == 0 ? clockEnabled : used;
            write(reg::procFirst(0, proc), (enabled ? reg::enableBit : 0U) | (input << 8) | delay);
            write(reg::procSecond(0, proc), 0x7804);
        }
    }

    void program(const std::string& pattern, unsigned pins = 4, unsigned frequency = 0) {
        unit->programTarget({pattern, frequency, scenario.kind, emuPins(pins)});
    }

    // The capture side of a recording; the transmitter follows.
    void beginRecording(std::uint32_t size, std::uint32_t mode, Framing framing = Framing::Packets) {
        unit->openChannel(size, mode);
        unit->cancel();
        unit->flush();
        unit->start();
        write(reg::stmControl(0), reg::captureEnableBit);
        write(reg::protocol(0), framing == Framing::Words ? reg::protocolWordsBit : 0);
        write(reg::procFirst(0, 0), read(reg::procFirst(0, 0)) | reg::enableBit);
    }

    // Records on four data pins of a new unit.
    void recordFor(double seconds, const std::string& pattern, std::uint32_t size, std::uint32_t mode,
                   Framing framing = Framing::Packets) {
        make();
        setProcs(4);
        beginRecording(size, mode, framing);
        program(pattern);
        pass(seconds);
    }

    std::vector<std::uint8_t> fetchAll() {
        unit->stop();
        data.clear();
        unit->request(unit->status());
        while (unit->status() != 0) {
            unit->deliver(*this, Unit::Before::StatusReply);
        }
        return data;
    }

    static std::vector<std::uint16_t> wordsOf(const std::vector<std::uint8_t>& bytes) {
        std::vector<std::uint16_t> words;
        for (std::size_t index = 0; index + 1 < bytes.size(); index += 2) {
            words.push_back(static_cast<std::uint16_t>(bytes[index] | (bytes[index + 1] << 8)));
        }
        return words;
    }

    void onData(std::span<const std::uint8_t> bytes) override {
        largestRecord = std::max(largestRecord, bytes.size());
        data.insert(data.end(), bytes.begin(), bytes.end());
    }
    void onStatus(std::uint32_t value) override { statuses.push_back(value); }

    Scenario scenario;
    std::uint64_t now = 1000;  ///< nanoseconds
    std::uint64_t perLook = 0; ///< that pass with each look at the time
    std::optional<Unit> unit;
    std::vector<RecordingTruth> truths;
    std::vector<std::uint8_t> data;
    std::vector<std::uint32_t> statuses;
    std::size_t largestRecord = 0;
};

} // namespace bench
