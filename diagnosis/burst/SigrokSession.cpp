#include "diagnosis/burst/SigrokSession.h"

#include <cmath>
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>
#include <zlib.h>

// The session is a ZIP archive whose entries are stored as they are: a burst has 8 KiB.

namespace diagnosis {

namespace {

struct Entry {
    const char* name;
    std::string content;
};

constexpr std::uint16_t zipVersion = 20;          // of the format: 2.0
constexpr std::uint16_t firstZipDay = 1 << 5 | 1; // 1980-01-01: no entry has a date of its own

void putNumber(std::string& out, std::uint32_t value, unsigned bytes) {
    for (unsigned i = 0; i < bytes; ++i) {
        out += static_cast<char>(value >> 8 * i & 0xFF);
    }
}

/// The checksum of ZIP archives.
std::uint32_t checksumOf(const std::string& bytes) {
    return static_cast<std::uint32_t>(
        crc32(0, reinterpret_cast<const Bytef*>(bytes.data()), static_cast<uInt>(bytes.size())));
}

/// The fields that an entry and its place in the directory share.
std::string zipFields(const Entry& entry) {
    const auto size = static_cast<std::uint32_t>(entry.content.size());
    std::string fields;
    putNumber(fields, zipVersion, 2);
    putNumber(fields, 0, 2); // flags
    putNumber(fields, 0, 2); // stored
    putNumber(fields, 0, 2); // midnight
    putNumber(fields, firstZipDay, 2);
    putNumber(fields, checksumOf(entry.content), 4);
    putNumber(fields, size, 4);
    putNumber(fields, size, 4);
    putNumber(fields, static_cast<std::uint32_t>(std::string(entry.name).size()), 2);
    putNumber(fields, 0, 2); // no extra field
    return fields;
}

std::string zipOf(const std::vector<Entry>& entries) {
    std::string archive;
    std::string directory;
    for (const Entry& entry : entries) {
        const std::string fields = zipFields(entry);
        directory += "PK\x01\x02";
        putNumber(directory, zipVersion, 2);
        directory += fields;
        putNumber(directory, 0, 2); // no comment
        putNumber(directory, 0, 2); // disk
        putNumber(directory, 0, 2); // attributes
        putNumber(directory, 0, 4);
        putNumber(directory, static_cast<std::uint32_t>(archive.size()), 4);
        directory += entry.name;
        archive += "PK\x03\x04" + fields + entry.name + entry.content;
    }
    const auto start = static_cast<std::uint32_t>(archive.size());
    archive += directory + "PK\x05\x06";
    putNumber(archive, 0, 4); // disks
    putNumber(archive, static_cast<std::uint32_t>(entries.size()), 2);
    putNumber(archive, static_cast<std::uint32_t>(entries.size()), 2);
    putNumber(archive, static_cast<std::uint32_t>(directory.size()), 4);
    putNumber(archive, start, 4);
    putNumber(archive, 0, 2); // no comment
    return archive;
}

std::string metadataOf(const Burst& burst, const BurstPart& part) {
    const auto rate = static_cast<std::uint64_t>(std::llround(burst.rates.sampleRate()));
    std::string text = "[global]\nsigrok version=0.5.2\n\n[device 1]\ncapturefile=logic-1\ntotal probes=" +
                       std::to_string(part.pins.size()) + "\nsamplerate=" + std::to_string(rate) + "\ntotal analog=0\n";
    for (std::size_t i = 0; i < part.pins.size(); ++i) {
        text += "probe" + std::to_string(i + 1) + "=" + part.names.label(laneOf(burst, part.pins[i])) + "\n";
    }
    return text + "unitsize=1\n";
}

/// A byte for each sample, the first pin in bit 0.
std::string samplesOf(const Burst& burst, const BurstPart& part) {
    std::string bytes(part.to - part.from, '\0');
    for (std::size_t i = 0; i < part.pins.size(); ++i) {
        const auto& levels = burst.pins[part.pins[i]].levels;
        for (std::size_t sample = part.from; sample < part.to; ++sample) {
            bytes[sample - part.from] = static_cast<char>(bytes[sample - part.from] | levels[sample] << i);
        }
    }
    return bytes;
}

} // namespace

void writeSigrokSession(std::ostream& out, const Burst& burst, const BurstPart& part) {
    out << zipOf({{"version", "2"}, {"metadata", metadataOf(burst, part)}, {"logic-1-1", samplesOf(burst, part)}});
}

} // namespace diagnosis
