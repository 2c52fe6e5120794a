#include "bench/server/TruthFile.h"

#include <limits>
#include <locale>
#include <sstream>

namespace bench {

std::string truthLine(const RecordingTruth& truth) {
    std::ostringstream out;
    out.imbue(std::locale::classic());
    out.precision(std::numeric_limits<double>::digits10);
    out << "{\"pattern\":\"" << truth.pattern << "\",\"frequency\":" << truth.frequency
        << ",\"half_period\":" << truth.halfPeriod << ",\"buffer_size\":" << truth.bufferSize
        << ",\"wrapping\":" << (truth.wrapping ? "true" : "false") << ",\"framing\":\""
        << (truth.framing == Framing::Packets ? "packets" : "words") << "\",\"pins\":[";
    const char* between = "";
    for (const PinTruth& pin : truth.pins) {
        out << between << "{\"proc\":" << pin.proc << ",\"input\":" << pin.input
            << ",\"emu\":" << (pin.emu ? static_cast<int>(*pin.emu) : -1) << ",\"skew\":" << pin.skew
            << ",\"offset\":" << pin.offset << ",\"eye\":" << pin.eye << ",\"fraction\":" << pin.fraction
            << ",\"fraction_min\":" << pin.fractionMin << ",\"fraction_max\":" << pin.fractionMax
            << ",\"slot\":" << pin.slot << ",\"error_rate\":" << pin.errorRate << "}";
        between = ",";
    }
    out << "]}";
    return out.str();
}

std::string contentsLine(const ContentsTruth& contents) {
    std::ostringstream out;
    out.imbue(std::locale::classic());
    out << "{\"framing\":\"" << (contents.framing == Framing::Packets ? "packets" : "words")
        << "\",\"blocks_overwritten\":" << contents.blocksOverwritten << ",\"blocks\":" << contents.blocksKept
        << ",\"runs\":[";
    const char* between = "";
    for (const Recorder::Run& run : contents.runs) {
        out << between << "{\"first_word\":" << run.firstWord << ",\"words\":" << run.words << "}";
        between = ",";
    }
    out << "]}";
    return out.str();
}

} // namespace bench
