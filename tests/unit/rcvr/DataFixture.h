#pragma once

#include "DriverFixture.h"

#include <vector>

namespace rcvr_test {

/// Samples that hold their own numbers.
inline std::string samples(std::uint64_t from, std::uint64_t to) {
    std::string bytes;
    for (std::uint64_t sample = from; sample < to; ++sample) {
        for (int shift = 0; shift < 64; shift += 8) {
            bytes += static_cast<char>(sample >> shift & 0xFF);
        }
    }
    return bytes;
}

/// A configured channel, its upload file, and a place to save to.
class Data : public DriverFixture {
protected:
    Data() {
        makeDriver();
        driver->SetConfiguration(settingsFile().c_str());
    }
    void upload(const std::string& bytes) {
        writeBytes(uploadFile, bytes);
        channel.metrics.bytesTotal = static_cast<std::uint32_t>(bytes.size());
    }
    void grow(const std::string& bytes) { std::ofstream(uploadFile, std::ios::binary | std::ios::app) << bytes; }
    std::vector<std::uint64_t> read(unsigned start, unsigned count) {
        std::vector<std::uint64_t> buffer(count, 0x7777);
        unsigned number = 99;
        driver->SeekReadTraceData(start, count, buffer.data(), &number);
        buffer.resize(number);
        return buffer;
    }

    const std::string uploadFile = folder.file("chan.bin");
    const std::string target = folder.file("saved");
};

} // namespace rcvr_test
