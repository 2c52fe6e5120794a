#include "bench/server/TruthFile.h"

#include <nlohmann/json.hpp>

namespace bench {

namespace {

using Json = nlohmann::ordered_json;

const char* nameOf(Framing framing) {
    return framing == Framing::Packets ? "packets" : "words";
}

Json toJson(const PinTruth& pin) {
    return {{"proc", pin.proc},
            {"input", pin.input},
            {"emu", pin.emu ? static_cast<int>(*pin.emu) : -1},
            {"skew", pin.skew},
            {"offset", pin.offset},
            {"eye", pin.eye},
            {"fraction", pin.fraction},
            {"fraction_min", pin.fractionMin},
            {"fraction_max", pin.fractionMax},
            {"slot", pin.slot},
            {"error_rate", pin.errorRate}};
}

} // namespace

std::string truthLine(const RecordingTruth& truth) {
    Json line = {{"pattern", truth.pattern},
                 {"frequency", truth.frequency},
                 {"half_period", truth.halfPeriod},
                 {"buffer_size", truth.bufferSize},
                 {"wrapping", truth.wrapping},
                 {"framing", nameOf(truth.framing)},
                 {"pins", Json::array()}};
    for (const PinTruth& pin : truth.pins) {
        line["pins"].push_back(toJson(pin));
    }
    return line.dump();
}

std::string contentsLine(const ContentsTruth& contents) {
    Json line = {{"framing", nameOf(contents.framing)},
                 {"blocks_overwritten", contents.blocksOverwritten},
                 {"blocks", contents.blocksKept},
                 {"runs", Json::array()}};
    for (const Recorder::Run& run : contents.runs) {
        line["runs"].push_back({{"first_word", run.firstWord}, {"words", run.words}});
    }
    return line.dump();
}

} // namespace bench
