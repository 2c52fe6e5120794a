#include "common/source/source_utilities/SameFile.h"
#include "common/source/source_utilities/uThread.h"
#include "rcvr/ChannelDriver.h"
#include "rcvr/Guard.h"
#include "tdf/TdfFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <limits>
#include <stdexcept>

// Reading the upload file, also while it grows, and copying it.

namespace Vx::Qrs::Trace::OrvRcvr {

using VX_QRS::logEntry;
using VX_QRS::logError;
using VX_QRS::logMessage;

namespace {

constexpr std::uint32_t sampleSize = 8;
constexpr unsigned uploadPollMilliseconds = 100;
constexpr unsigned savePollMilliseconds = 20;
constexpr unsigned mostPollsWithoutGrowth = 10;
constexpr unsigned chunkSamples = 8192;
constexpr std::size_t pageSize = 4096; // the system copies whole pages fastest
constexpr const char* tdfSectionName = "BinTraceData";
constexpr std::uint32_t tdfSectionVersion = 1;
constexpr const char* saveFailed = "Internal error saving file";

using Chunk = std::array<std::uint64_t, chunkSamples>;

// A partial sample at the end counts as a whole one.
constexpr std::uint64_t samplesIn(std::uint64_t bytes) {
    return (bytes + sampleSize - 1) / sampleSize;
}

// Whether a recording runs or is being uploaded.
bool isGrowing(const VX_QRS::ORV::CLIENT::ChannelMetrics& metrics) {
    using namespace VX_QRS::ORV::CLIENT;
    return metrics.state >= Recording && metrics.state <= Stopped && !metrics.threadDone && !metrics.threadAbsent;
}

} // namespace

void ChannelDriver::closeReadStream() {
    const VX_QRS::uMutexLock held(readLock);
    readStream.close();
}

unsigned ChannelDriver::GetNumSamples() {
    logEntry(channelDriverUnit, "Vx::Qrs::Trace::OrvRcvr::ChannelDriver::GetNumSamples");
    return guarded("GetNumSamples", nullptr, [this] {
        ChannelMetrics metrics;
        channel->status(metrics);
        const std::uint32_t bytes = metrics.bytesReady + metrics.bytesTotal;
        return static_cast<unsigned>(samplesIn(bytes));
    });
}

ChannelDriver::ReadResult ChannelDriver::readFromFile(std::uint32_t startSample, std::uint32_t numSamples,
                                                      std::uint64_t* buffer) {
    const VX_QRS::uMutexLock held(readLock);
    if (!readStream.isOpen()) {
        readStream.open(dataFilePath); // without a file nothing is available
    }
    ReadResult result;
    result.available = samplesIn(readStream.length());
    if (startSample >= result.available) {
        logMessage("%s : seek read start sample out of range", programLabel);
        return result;
    }
    const auto count = static_cast<std::uint32_t>(std::min<std::uint64_t>(numSamples, result.available - startSample));
    if (count == 0) {
        return result;
    }
    buffer[count - 1] = 0;
    const std::size_t bytes =
        readStream.readAt(std::uint64_t{startSample} * sampleSize, buffer, std::size_t{count} * sampleSize);
    result.count = static_cast<std::uint32_t>(bytes / sampleSize);
    if (result.count != count) {
        logError("%s : seek read file failed with numSamplesActual=%u, numSamplesRead=%u", programLabel, count,
                 result.count);
    }
    return result;
}

void ChannelDriver::SeekReadTraceData(unsigned startSample, unsigned numSamples, std::uint64_t* buffer,
                                      unsigned* numRead) {
    logEntry(channelDriverUnit, "Vx::Qrs::Trace::OrvRcvr::ChannelDriver::SeekReadTraceData");
    if (numRead == nullptr || (buffer == nullptr && numSamples != 0)) {
        throwError(channelDriverUnit, eNullParameter);
    }
    *numRead = 0;
    const auto failWith = [](const char* reason) {
        const Error error = Error::whileReading(reason);
        logError("OrvRcvr : %s", error.GetErrorText());
        throw error;
    };
    try {
        readWhileUploading(startSample, numSamples, buffer, numRead);
    } catch (const Error& error) {
        failWith(error.GetErrorText());
    } catch (const std::exception& exception) {
        failWith(exception.what());
    } catch (...) {
        failWith(nullptr);
    }
}

void ChannelDriver::readWhileUploading(std::uint32_t startSample, std::uint32_t numSamples, std::uint64_t* buffer,
                                       unsigned* numRead) {
    ReadResult result = readFromFile(startSample, numSamples, buffer);
    *numRead = result.count;
    const std::uint32_t total = GetNumSamples();
    unsigned tries = mostPollsWithoutGrowth;
    ChannelMetrics metrics;
    channel->status(metrics);
    while (*numRead != numSamples && !metrics.threadDone && !metrics.threadAbsent && tries != 0) {
        VX_QRS::uThread::sleep(uploadPollMilliseconds);
        result = readFromFile(startSample, numSamples, buffer);
        *numRead = result.count;
        if (result.available != total) {
            // Still growing: a live upload is waited for without a limit.
            tries = mostPollsWithoutGrowth;
        } else if (--tries == 0) {
            logMessage("%s : seek read timeout, numSamplesRequested=%u, numSamplesRead=%u, numSamplesTotal=%u, "
                       "numSamplesAvailable=%u",
                       programLabel, numSamples, *numRead, total, static_cast<unsigned>(result.available));
        }
        channel->status(metrics);
    }
    logMessage("%s : seek read complete startSample=%u, numSamplesRequested=%u, numSamplesTotal=%u, "
               "numSamplesAvailable=%u, numSamplesRead=%u",
               programLabel, startSample, numSamples, total, static_cast<unsigned>(result.available), *numRead);
}

void ChannelDriver::SaveFile(std::string path, unsigned format) {
    logEntry(channelDriverUnit, "Vx::Qrs::Trace::OrvRcvr::ChannelDriver::SaveFile");
    if (path.empty()) {
        throwError(channelDriverUnit, eBadFile, "Cannot save to empty file name");
    }
    if (format == eSaveUncompressed || format == eSaveUncompressedText) {
        throwError(channelDriverUnit, eBadFile, "Internal error.  Cannot save uncompressed trace data format");
    }
    converted("SaveFile", [&] { refuseTarget(path); });
    guarded("SaveFile", nullptr, [&] {
        const std::uint64_t numSamples = waitForUpload();
        if (format == eSaveRaw) {
            saveRaw(path);
        } else {
            saveTraceDataFile(path, numSamples);
        }
    });
    logStep("SaveFile", "success");
}

// Only then the number of samples is final; it is returned. Without a limit, as for a read of a live upload.
std::uint64_t ChannelDriver::waitForUpload() {
    ChannelMetrics metrics;
    channel->status(metrics);
    while (isGrowing(metrics)) {
        VX_QRS::uThread::sleep(savePollMilliseconds);
        channel->status(metrics);
    }
    return samplesIn(metrics.bytesReady + metrics.bytesTotal);
}

// Checks that the target can be written and is not the recording itself.
void ChannelDriver::refuseTarget(const std::string& path) {
    int failure = 0;
    if (VX_QRS::sameFile(path.c_str(), dataFilePath.c_str())) {
        failure = EACCES;
    } else {
        errno = 0;
        if (std::FILE* file = std::fopen(path.c_str(), "ab")) {
            std::fclose(file);
        } else {
            failure = errno;
        }
    }
    if (failure == 0) {
        return;
    }
    const std::string text = std::string("Could not open file") + std::strerror(failure);
    logError("%s : %s : %s", programLabel, text.c_str(), path.c_str());
    throwError(channelDriverUnit, eBadFile, text);
}

template <class Sink>
void ChannelDriver::saveSamples(Sink&& sink) {
    alignas(pageSize) Chunk chunk;
    const unsigned total = GetNumSamples();
    unsigned saved = 0;
    // 64 bits, so that the last step cannot wrap to the start.
    for (std::uint64_t start = 0; start < total; start += chunkSamples) {
        unsigned count = 0;
        SeekReadTraceData(static_cast<unsigned>(start), chunkSamples, chunk.data(), &count);
        if (count == 0) {
            throwError(channelDriverUnit, eBadFile, saveFailed);
        }
        sink(chunk, count);
        saved += count;
    }
    if (saved != total) {
        logError("%s : %s saved only %u of %u samples", programLabel, "SaveFile", saved, total);
    }
}

void ChannelDriver::saveRaw(const std::string& path) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    const auto require = [](bool written) {
        if (!written) {
            throwError(channelDriverUnit, eBadFile, saveFailed);
        }
    };
    saveSamples([&](const Chunk& chunk, unsigned count) {
        file.write(reinterpret_cast<const char*>(chunk.data()), std::streamsize{count} * sampleSize);
        require(file.good());
    });
    file.close();
    require(file.good());
}

void ChannelDriver::saveTraceDataFile(const std::string& path, std::uint64_t numSamples) {
    if (!TdfFile::hasSpace(path.c_str(), tdfSectionName, numSamples * sampleSize)) {
        throwError(channelDriverUnit, eBadFile, TdfFile::tooLong);
    }
    // The trace data file's failures are of the framework's base class; here they become this library's own.
    const auto asError = [](auto&& step) {
        try {
            step();
        } catch (const Zarn::cZarnError& failure) {
            throw Error(std::runtime_error(failure.GetErrorText()));
        }
    };
    std::uint32_t offset = 0;
    asError([&] { TdfFile::beginSection(path.c_str(), tdfSectionName, tdfSectionVersion, &offset); });
    saveSamples([&](const Chunk& chunk, unsigned count) {
        std::uint32_t size = 0;
        asError([&] {
            TdfFile::appendSectionData(path.c_str(), tdfSectionName, offset, chunk.data(), sampleSize, count, &size);
        });
    });
}

void ChannelDriver::LoadFile(const char* /*path*/) {
    logEntry(channelDriverUnit, "Vx::Qrs::Trace::OrvRcvr::ChannelDriver::LoadFile");
    throwError(channelDriverUnit, eFailed, "load file not supported");
}

} // namespace Vx::Qrs::Trace::OrvRcvr
