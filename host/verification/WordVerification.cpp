#include "host/verification/WordVerification.h"

#include "host/platform/InterruptAnswer.h"
#include "host/session/CheckedReadBack.h"
#include "toolkit/FilePath.h"
#include "toolkit/Text.h"

#include <algorithm>
#include <atomic>
#include <fstream>

namespace host {

namespace {

namespace fs = std::filesystem;
using diagnosis::StreamCheck;
using diagnosis::WordCheck;

/// usualPattern by its name.
constexpr const char* targetPattern = "walk";
/// opposedPattern by its name.
constexpr const char* opposedName = "a5";
/// What the unit's own generator sends in any recording.
constexpr const char* generatorPattern = "ramp1";
constexpr unsigned bitsOfWord = 16;

/// Names of a channel's attributes, with the blank at the end of one.
constexpr const char* dataPinsAttribute = "Trace Data Pin Size ";
constexpr std::uint64_t smallestBuffer = 0x40000;

} // namespace

std::string verificationPattern(const VerifiedChannel& target) {
    return target.ownGenerator ? generatorPattern : targetPattern;
}

std::string verificationObstacle(const VerifiedChannel& target) {
    const std::string pattern = verificationPattern(target);
    if (!target.programmed) {
        return "the signal is none that the receiver programs, so its words are not known";
    }
    if (!target.ownGenerator && target.exportKind == "tpiulite") {
        return "a tpiulite export takes no order for a test pattern, so its words are not known";
    }
    if (!diagnosis::streamModeNamed(target.exportKind) || target.dataPins == 0 ||
        !diagnosis::hasCheckedPattern(pattern, target.dataPins)) {
        return "no test pattern is known for " + std::to_string(target.dataPins) + " data pins of a " +
               toolkit::shown(target.exportKind) + " export";
    }
    return {};
}

namespace {

void addLanes(WordCheck& words, const StreamCheck& stream) {
    for (const diagnosis::LaneDamage& damage : stream.lanes) {
        const auto known = std::find_if(words.lanes.begin(), words.lanes.end(),
                                        [&](const diagnosis::LaneErrors& lane) { return lane.lane == damage.lane; });
        diagnosis::LaneErrors& lane = known != words.lanes.end() ? *known : words.lanes.emplace_back();
        lane.lane = damage.lane;
        lane.errors += damage.wrongBits;
        lane.early += damage.likeNext;
        lane.late += damage.likePreceding;
    }
    std::sort(words.lanes.begin(), words.lanes.end(),
              [](const auto& one, const auto& other) { return one.lane < other.lane; });
}

/// Damage that is none of single bits, such as lost words, counts as an error each.
std::uint64_t errorsOf(const StreamCheck& stream) {
    std::uint64_t bits = 0;
    for (const diagnosis::LaneDamage& lane : stream.lanes) {
        bits += lane.wrongBits;
    }
    const std::uint64_t wrong = std::max(bits, stream.wrongWords);
    return wrong != 0 ? wrong : stream.damageCount;
}

void add(WordCheck& words, const StreamCheck& stream) {
    words.bits += stream.wordsCompared * bitsOfWord;
    words.errors += errorsOf(stream);
    addLanes(words, stream);
    if (!words.firstDamage) {
        words.firstDamage = stream.firstDamage;
    }
}

/// One comparison, recording by recording.
class Verification {
public:
    Verification(const VerifiedChannel& used, PatternTransmitter& ordered, WordCheck& filled)
        : target(used), transmitter(ordered), words(filled), inAll(diagnosis::bitsThatExclude(filled.askedErrorRate)) {}

    /// Until a share of all bits is compared with this pattern.
    void run(const char* patternName, double share, ProgressLine& line);

private:
    RecordingPlan nextPlan() const;
    void recordOnce();
    ProgressStep step() const;

    const VerifiedChannel& target;
    PatternTransmitter& transmitter;
    WordCheck& words;
    std::uint64_t inAll;
    std::uint64_t needed = 0; ///< until the pattern's end
    const char* pattern = "";
    std::atomic<std::uint64_t> compared{0};    ///< bits, for the progress
    ProgressLine silent{ProgressStyle::Quiet}; ///< a recording's own phases are too short to be shown
};

ProgressStep Verification::step() const {
    ProgressStep now;
    now.phase = words.when == WordCheck::When::After ? "verifying after the recording" : "verifying known words";
    now.fraction = std::min(1.0, static_cast<double>(compared) / static_cast<double>(inAll));
    now.fractionWord = "compared";
    return now;
}

/// As long as the remaining bits take, but no longer than the buffer.
RecordingPlan Verification::nextPlan() const {
    constexpr double reserve = 1.02; ///< packets have a word that is none of the pattern's
    constexpr double startSeconds = 0.01;
    constexpr double blindSeconds = 1.0; ///< of a wrapping buffer at an unknown rate
    const double rate = target.bitsPerSecond();
    const double capacity = 8.0 * static_cast<double>(target.bufferBytes);
    const double bits = std::min(static_cast<double>(needed - words.bits), capacity) * reserve;
    RecordingPlan plan;
    plan.untilFull = target.stopsWhenFull && (rate <= 0.0 || bits >= capacity);
    plan.seconds = rate <= 0.0 ? blindSeconds : bits / rate + startSeconds;
    return plan;
}

void Verification::recordOnce() {
    const RecordingEnd end = runRecording(target.channel, nextPlan(), silent);
    if (!target.ownGenerator && !transmitter.isProgrammed()) {
        words.failure = "the receiver has not programmed the test pattern, so the recorded words are not known";
        return;
    }
    diagnosis::StreamForm form = traceForm(target);
    form.pattern = pattern;
    ReadBack back;
    const StreamCheck stream =
        readBackChecked(target.channel, silent, form, [](std::span<const std::uint64_t>) {}, back);
    if (const auto fault = faultOf(end, back)) {
        throw toolkit::Failure(*fault);
    }
    add(words, stream);
    compared = words.bits;
    if (stream.wordsCompared == 0 && !interrupted()) {
        words.failure = stream.words == 0 ? "the target sent no words of its test pattern"
                                          : "the recorded words are none of the test pattern's";
    } else if (2 * errorsOf(stream) > stream.wordsCompared && words.bits < inAll) {
        words.failure = "ended early, there are too many errors for a rate"; // more of them show nothing else
    }
}

void Verification::run(const char* patternName, double share, ProgressLine& line) {
    pattern = patternName;
    needed = words.bits + static_cast<std::uint64_t>(share * static_cast<double>(inAll) + 0.5);
    const InterruptAnswer answer("stopping the verification");
    const ProgressFollower follower([this] { return step(); }, line);
    while (words.bits < needed && words.failure.empty()) {
        if (interrupted()) {
            words.failure = "interrupted";
            return;
        }
        recordOnce();
    }
}

/// False if a file of the receiver cannot be renamed because it is open there.
bool moved(const fs::path& from, const fs::path& to) {
    std::error_code failed;
    fs::rename(from, to, failed);
    return !failed;
}

/// Into a file that may be open elsewhere.
void copyInto(const fs::path& from, const fs::path& to) {
    std::ifstream in(from, std::ios::binary);
    std::ofstream out(to, std::ios::binary | std::ios::trunc);
    out << in.rdbuf();
    if (!out.flush()) {
        throw toolkit::Failure(toolkit::ExitCode::OutputUnwritable,
                               to.string() + " cannot be written; is the disk full?");
    }
}

} // namespace

VerifiedChannel verifiedChannel(Session& session, const SessionResult& result) {
    Receiver& receiver = session.receiver();
    VerifiedChannel target{receiver.channel()};
    target.exportKind = receiver.attribute("drmXmtr");
    target.dataPins = toolkit::numberOf<unsigned>(receiver.attribute(dataPinsAttribute)).value_or(0);
    target.ownGenerator = result.cpu == "fpga";
    target.programmed = result.cpu != "external";
    target.bufferBytes = toolkit::numberOf<std::uint64_t>(receiver.attribute("orvBufSize")).value_or(smallestBuffer);
    target.stopsWhenFull = receiver.attribute("orvBufMode") == "stop";
    target.clockHertz = result.hertz.value_or(0.0);
    target.file = toolkit::filePath(session.fileStem().string() + ".bin");
    target.leftovers = &session.leftovers();
    return target;
}

diagnosis::StreamForm traceForm(const VerifiedChannel& target) {
    diagnosis::StreamForm form;
    form.mode = diagnosis::streamModeNamed(target.exportKind).value_or(diagnosis::StreamMode::Unknown);
    form.lanes = target.dataPins;
    form.pattern = target.ownGenerator ? generatorPattern : "";
    form.clockHertz = target.clockHertz;
    return form;
}

namespace {

/// Records half of the bits of each pattern. Where only one is known, or the library refuses the other, all of it.
void verifyPatterns(const VerifiedChannel& target, PatternTransmitter& transmitter, WordCheck& check,
                    ProgressLine& line) {
    Verification verification(target, transmitter, check);
    const std::string first = verificationPattern(target);
    const bool hasBoth =
        !target.ownGenerator && target.dataPins > 1 && diagnosis::hasCheckedPattern(opposedName, target.dataPins);
    {
        const PatternOrder order(transmitter, usualPattern);
        verification.run(first.c_str(), hasBoth ? 0.5 : 1.0, line);
    }
    if (!hasBoth || !check.failure.empty()) {
        return;
    }
    try {
        const PatternOrder order(transmitter, opposedPattern);
        check.pattern = first + " and " + opposedName;
        verification.run(opposedName, 0.5, line);
    } catch (const toolkit::Failure&) {
        if (transmitter.refusal() == 0) {
            throw;
        }
        check.pattern = first;
        const PatternOrder order(transmitter, usualPattern);
        verification.run(first.c_str(), 0.5, line);
    }
}

} // namespace

void verifyWords(const VerifiedChannel& target, PatternTransmitter& transmitter, WordCheck& check, ProgressLine& line) {
    check.pattern = verificationPattern(target);
    check.failure = verificationObstacle(target);
    if (!check.failure.empty()) {
        check.pattern.clear();
        return;
    }
    try {
        const FileAside aside(target.file, target.leftovers);
        verifyPatterns(target, transmitter, check, line);
    } catch (const toolkit::Failure& failure) {
        check.failure = failure.what();
        if (transmitter.refusal() != 0) {
            check.failure =
                "the transmitter library refuses the test pattern, code " + std::to_string(transmitter.refusal());
            return; // trace can be recorded all the same
        }
        throw;
    }
}

FileAside::FileAside(const fs::path& file, RemovedAtEnd* unremoved) : place(file), leftovers(unremoved) {
    std::error_code failed;
    if (!fs::exists(place, failed)) {
        return;
    }
    aside = toolkit::filePath(place.string() + ".kept");
    if (!moved(place, aside)) {
        copyInto(place, aside);
    }
}

FileAside::~FileAside() {
    std::error_code failed;
    if (aside.empty()) {
        if (!fs::remove(place, failed) && failed && leftovers != nullptr) {
            leftovers->add(place);
        }
        return;
    }
    if (moved(aside, place)) {
        return;
    }
    try {
        copyInto(aside, place);
        fs::remove(aside, failed);
    } catch (const toolkit::Failure&) {
        return; // the samples stay in the other file
    }
}

} // namespace host
