#include "client/Pattern.h"
#include "common/source/Exception.h"
#include "common/source/Status.h"
#include "diagnosis/analysis/LaneMatch.h"
#include "diagnosis/files/Verification.h"
#include "fuzz/Require.h"
#include "fuzz/Scratch.h"
#include "fuzz/Targets.h"
#include "fuzz/Text.h"

#include <array>
#include <memory>
#include <string>

namespace fuzz {

namespace {

using namespace VX_QRS::ORV::CLIENT;

constexpr std::size_t longestMatched = 1600; // all permutations and shifts are tried

struct Counts {
    std::uint32_t tracePackets = 0, otherPackets = 0, dataWords = 0, syncWords = 0, zeroWords = 0;
    bool passed = true;
};

/// The receiver's own judgement.
Counts judge(const std::string& path, const char* name, std::uint32_t dataPins) {
    const std::unique_ptr<Pattern> pattern(createPattern(name, dataPins));
    Counts counts;
    try {
        verifyPatternFile(*pattern, path.c_str(), 0, 0, counts.tracePackets, counts.otherPackets, counts.dataWords,
                          counts.syncWords, counts.zeroWords);
    } catch (const Exception& failure) {
        require(failure.status() == eVALUE, failure.what());
        require(std::string_view(failure.detail()).starts_with("failed to verify pattern"), failure.what());
        counts.passed = false;
    }
    return counts;
}

void compare(const std::string& path, const diagnosis::Verification& recording, const char* name,
             std::uint32_t dataPins) {
    const auto pattern = diagnosis::patternNamed(dataPins, dataPins == 1 ? "alternating bits" : name);
    require(pattern.has_value(), "the diagnosis has the pattern");
    const diagnosis::PatternCheck check = diagnosis::checkPattern(recording, *pattern);
    const Counts counts = judge(path, name, dataPins);
    require(check.passed() == counts.passed, "receiver and diagnosis agree on a recording");
    require(counts.tracePackets == recording.tracePackets && counts.otherPackets == recording.otherPackets,
            "both count the same packets");
    if (counts.passed) {
        require(check.dataWords == counts.dataWords && check.syncWords == counts.syncWords &&
                    check.zeroWords == counts.zeroWords,
                "both count the same words");
    }
}

void checkSizes(const diagnosis::Verification& recording, std::size_t bytes) {
    require(recording.packets == bytes / 512, "packets of 512 bytes");
    require(recording.tracePackets + recording.otherPackets + recording.unknownPackets == recording.packets,
            "each packet has a kind");
    const std::size_t words = recording.framing == diagnosis::Verification::Framing::Packets ? 255 : 256;
    require(recording.words.size() == words * recording.tracePackets, "words of the trace packets");
    for (std::size_t word = 0; word < recording.words.size(); word += 100) {
        require(recording.packetOf(word) < recording.packets && recording.indexOf(word) < words, "a word's position");
    }
}

} // namespace

void verification(Input input) {
    const std::string_view bytes = textOf(input);
    const diagnosis::Verification recording = diagnosis::parseVerification(bytes);
    checkSizes(recording, bytes.size());
    const std::string path = scratchFile("board.ver", bytes);
    for (const std::uint32_t dataPins : {1U, 2U, 4U}) {
        for (const char* name : {"ramp", "f0", "a5", "walk"}) {
            if (dataPins != 1 || std::string_view(name) == "a5") {
                compare(path, recording, name, dataPins);
            }
        }
        diagnosis::patternHeld(recording, dataPins);
    }
    if (input.size() <= longestMatched) {
        diagnosis::matchLanes(recording, input.size() % 5);
    }
}

} // namespace fuzz
