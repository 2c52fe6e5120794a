#include "host/soak/SoakResult.h"
#include "toolkit/Format.h"

#include <sstream>

namespace host {

namespace {

std::string hexWord(std::uint16_t word) {
    return toolkit::print("0x%04x", static_cast<unsigned>(word));
}

void addErrors(std::ostringstream& out, const std::vector<RoundError>& errors) {
    out << toolkit::print("\n%6s %8s %5s %10s %9s %7s\n", "round", "packet", "word", "byte", "expected", "got");
    for (const auto& [round, error] : errors) {
        out << toolkit::print("%6u %8s %5u %10s %9s %7s\n", round, std::to_string(error.packet).c_str(), error.word,
                              std::to_string(error.byte()).c_str(),
                              error.expected ? hexWord(*error.expected).c_str() : "-", hexWord(error.got).c_str());
    }
}

} // namespace

std::string soakText(const SoakResult& result) {
    if (result.rounds == 0) {
        return {};
    }
    std::ostringstream out;
    out << (result.scenario.empty()
                ? std::string("the capture unit's own generator")
                : "the simulated unit's own generator, which bypasses the wiring, scenario " + result.scenario);
    if (result.dataPins) {
        out << ", " << toolkit::countText(*result.dataPins, "data pin");
    }
    if (!result.dataRate.empty()) {
        out << ", " << result.dataRate;
    }
    out << "\n"
        << toolkit::countText(result.rounds, "round") << ", each calibrated and recorded anew"
        << toolkit::print(", in %.1f s\n", result.seconds) << toolkit::countText(result.words, "word") << " checked, "
        << toolkit::countText(result.errors, "error")
        << toolkit::print("; %.2f million words a second over all\n", result.wordsPerSecond() / 1e6);
    if (!result.firstErrors.empty()) {
        addErrors(out, result.firstErrors);
    }
    return out.str();
}

} // namespace host
