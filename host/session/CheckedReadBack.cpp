#include "host/session/CheckedReadBack.h"

#include <algorithm>
#include <cstring>

namespace host {

diagnosis::StreamCheck readBackChecked(Vx::Qrs::Trace::CChannelDriver& channel, ProgressLine& progress,
                                       diagnosis::StreamForm known, const SampleSink& sink, ReadBack& back) {
    SampleReader reader(channel, progress);
    back = reader.soFar();
    known.announcedSamples = back.announced;
    std::span<const std::byte> rest;
    const auto read = [&](std::span<std::uint8_t> out) {
        if (rest.empty()) {
            const std::span<const std::uint64_t> samples = reader.next();
            back = reader.soFar();
            sink(samples);
            rest = std::as_bytes(samples);
        }
        const std::size_t count = std::min(rest.size(), out.size());
        if (count != 0) {
            std::memcpy(out.data(), rest.data(), count);
        }
        rest = rest.subspan(count);
        return count;
    };
    return diagnosis::checkStream(read, known);
}

} // namespace host
