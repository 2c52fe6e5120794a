#include "tests/recording/Contents.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <fstream>
#include <span>

namespace recording_test {

namespace {

constexpr std::array<std::uint16_t, 7> sequence{0, 0, 0, 0, 0, 0x0FF0, 0x2D1E};
constexpr std::size_t furtherWord = 6; // of a sequence

constexpr std::size_t blockBytes = 16384;
constexpr std::size_t payloadWords = 255; // of a packet, before its trailer
constexpr std::size_t packetsPerBlock = 32;

/// Offset of a word of the stream from the start of the last sequence.
std::uint64_t phaseOf(const Sent& sent, std::uint64_t word) {
    return word % (sent.syncEvery + sequence.size());
}

std::vector<std::uint16_t> wordsOnTheWire(const Sent& sent, std::uint64_t first, std::uint64_t count) {
    std::vector<std::uint16_t> words(count);
    if (sent.syncEvery == 0) {
        sent.content->fill(first, words);
        return words;
    }
    const std::uint64_t period = sent.syncEvery + sequence.size();
    for (std::uint64_t at = 0; at < count;) {
        const std::uint64_t phase = phaseOf(sent, first + at);
        if (phase < sequence.size()) {
            words[at++] = sequence[phase];
            continue;
        }
        const std::uint64_t run = std::min(period - phase, count - at);
        const std::uint64_t from = (first + at) / period * sent.syncEvery + phase - sequence.size();
        sent.content->fill(from, std::span(words).subspan(at, run));
        at += run;
    }
    return words;
}

void append(std::string& file, std::uint16_t word) {
    file += static_cast<char>(word & 0xFF);
    file += static_cast<char>(word >> 8);
}

} // namespace

bench::ContentPointer played(const std::string& bytes) {
    constexpr unsigned idleWords = 64;
    return bench::makePlayback({bytes.begin(), bytes.end()}, 0, idleWords);
}

bench::ContentPointer generated() {
    constexpr std::uint64_t defaultSeed = 1;
    return bench::makeGeneratedTrace(defaultSeed);
}

std::optional<Contents> lastContents(const std::string& benchFolder) {
    std::ifstream in(benchFolder + "/contents.jsonl");
    std::string last;
    for (std::string line; std::getline(in, line);) {
        last = line;
    }
    if (last.empty()) {
        return std::nullopt;
    }
    const auto json = nlohmann::json::parse(last);
    Contents one;
    one.packets = json.at("framing") == "packets";
    one.blocksOverwritten = json.at("blocks_overwritten");
    one.blocks = json.at("blocks");
    for (const auto& run : json.at("runs")) {
        one.runs.push_back({run.at("first_word"), run.at("words")});
    }
    return one;
}

std::string expectedFile(const Contents& contents, const Sent& sent) {
    const std::uint64_t blockWords = contents.packets ? packetsPerBlock * payloadWords : blockBytes / 2;
    // Overwritten blocks are not generated.
    std::uint64_t skip = contents.blocksOverwritten * blockWords;
    std::vector<std::uint16_t> words;
    for (const Contents::Run& run : contents.runs) {
        const std::uint64_t left = std::min(skip, run.words);
        skip -= left;
        const std::vector<std::uint16_t> more = wordsOnTheWire(sent, run.firstWord + left, run.words - left);
        words.insert(words.end(), more.begin(), more.end());
        // A sequence cut before its further word would look like a whole one; its mark is left out.
        if (sent.syncEvery != 0 && !more.empty() && phaseOf(sent, run.firstWord + run.words) == furtherWord) {
            words.back() = 0;
        }
    }
    const std::uint64_t taken = words.size();
    words.resize(contents.blocks * blockWords, 0);
    std::string file;
    file.reserve(contents.blocks * blockBytes);
    for (std::uint64_t at = 0; at < words.size(); ++at) {
        append(file, words[at]);
        if (contents.packets && at % payloadWords == payloadWords - 1) {
            append(file, at + 1 - payloadWords < taken ? 0x08FF : 0x10FF);
        }
    }
    return file;
}

std::string difference(const std::string& file, const std::string& expected, Compare length) {
    if (file.size() != expected.size() && (length == Compare::Whole || file.size() > expected.size())) {
        return "the file has " + std::to_string(file.size()) + " bytes instead of " + std::to_string(expected.size());
    }
    const auto found = std::mismatch(file.begin(), file.end(), expected.begin());
    if (found.first == file.end()) {
        return {};
    }
    return "the file differs from byte " + std::to_string(found.first - file.begin()) + " of " +
           std::to_string(file.size()) + " on";
}

} // namespace recording_test
