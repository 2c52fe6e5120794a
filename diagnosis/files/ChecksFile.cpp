#include "diagnosis/files/ChecksFile.h"

#include "toolkit/JsonText.h"
#include "toolkit/Text.h"
#include "toolkit/TextFile.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <type_traits>

namespace diagnosis {

namespace {

using nlohmann::json;

constexpr std::array<std::string_view, 3> whens{"alone", "before", "after"};
constexpr unsigned mostLanes = 16;
constexpr double bitsWithoutError = 3.0; ///< times the reciprocal of a rate: 95 % confidence

/// Reads values by their keys. A key that is missing leaves the value as it is, so that files of other versions can be
/// read; a value of the wrong kind is damage.
class Keys {
public:
    Keys(const json& given, const std::string& named) : object(given), file(named) {
        if (!object.is_object()) {
            bad("an object");
        }
    }

    template <class Number>
    void number(const char* key, Number& value) const {
        const json* const found = find(key);
        if (found == nullptr) {
            return;
        }
        if constexpr (std::is_floating_point_v<Number>) {
            expect(found->is_number(), key);
        } else {
            expect(found->is_number_unsigned() &&
                       found->get<std::uint64_t>() <= std::uint64_t{std::numeric_limits<Number>::max()},
                   key);
        }
        value = found->get<Number>();
    }
    template <class Number>
    void number(const char* key, std::optional<Number>& value) const {
        if (find(key) != nullptr) {
            number(key, value.emplace());
        }
    }
    void flag(const char* key, bool& value) const {
        if (const json* const found = find(key)) {
            expect(found->is_boolean(), key);
            value = found->get<bool>();
        }
    }
    void text(const char* key, std::string& value) const {
        if (const json* const found = find(key)) {
            expect(found->is_string(), key);
            value = found->get<std::string>();
        }
    }
    /// A value by its name.
    template <class Value, class Named>
    void named(const char* key, Value& value, Named valueOf) const {
        std::string name;
        text(key, name);
        if (name.empty()) {
            return;
        }
        const std::optional<Value> found = valueOf(std::string_view(name));
        expect(found.has_value(), key);
        value = *found;
    }
    template <class Read>
    void each(const char* key, Read read) const {
        const json* const found = find(key);
        if (found == nullptr) {
            return;
        }
        expect(found->is_array(), key);
        for (const json& item : *found) {
            read(Keys(item, file));
        }
    }
    /// The texts of an object, each with its key.
    template <class Read>
    void texts(const char* key, Read read) const {
        const json* const found = find(key);
        if (found == nullptr) {
            return;
        }
        expect(found->is_object(), key);
        for (const auto& [name, value] : found->items()) {
            expect(value.is_string(), key);
            read(name, value.template get<std::string>());
        }
    }
    template <class Read>
    void inside(const char* key, Read read) const {
        if (const json* const found = find(key)) {
            read(Keys(*found, file));
        }
    }
    void expect(bool good, const char* key) const {
        if (!good) {
            bad(key);
        }
    }

private:
    const json* find(const char* key) const {
        const auto found = object.find(key);
        return found == object.end() || found->is_null() ? nullptr : &*found;
    }
    [[noreturn]] void bad(const char* key) const { toolkit::damaged(file, 0, std::string("bad value of ") + key); }

    const json& object;
    const std::string& file;
};

/// "data1" is lane 0.
std::optional<unsigned> laneNamed(std::string_view name) {
    const auto digits = toolkit::textAfter(name, "data");
    const auto number = digits ? toolkit::numberOf<unsigned>(*digits) : std::nullopt;
    return number && *number >= 1 && *number <= mostLanes ? std::optional(*number - 1) : std::nullopt;
}

std::optional<WordCheck::When> whenNamed(std::string_view name) {
    const auto found = std::find(whens.begin(), whens.end(), name);
    return found == whens.end() ? std::nullopt : std::optional(static_cast<WordCheck::When>(found - whens.begin()));
}

void readLane(const Keys& keys, const char* key, std::optional<unsigned>& lane) {
    unsigned read = mostLanes;
    keys.named(key, read, laneNamed);
    if (read != mostLanes) {
        lane = read;
    }
}

StreamPlace readPlace(const Keys& keys) {
    StreamPlace place;
    keys.number("sample", place.sample);
    keys.number("byte", place.byte);
    keys.number("percent", place.percent);
    keys.number("seconds", place.seconds);
    return place;
}

Damage readDamage(const Keys& keys) {
    Damage damage;
    keys.named("kind", damage.kind, damageKindNamed);
    keys.inside("place", [&](const Keys& place) { damage.place = readPlace(place); });
    readLane(keys, "lane", damage.lane);
    readLane(keys, "carries", damage.carries);
    keys.number("amount", damage.amount);
    keys.flag("atLeast", damage.amountIsLeast);
    keys.flag("atBlock", damage.atBlock);
    return damage;
}

LaneDamage readLaneDamage(const Keys& keys) {
    LaneDamage lane;
    keys.named("lane", lane.lane, laneNamed);
    keys.named("kind", lane.kind, damageKindNamed);
    readLane(keys, "carries", lane.carries);
    keys.number("wrongBits", lane.wrongBits);
    keys.number("likePreceding", lane.likePreceding);
    keys.number("likeNext", lane.likeNext);
    keys.inside("first", [&](const Keys& place) { lane.first = readPlace(place); });
    return lane;
}

void readCounts(const Keys& keys, StreamCheck& check) {
    keys.number("bytes", check.bytes);
    keys.number("samples", check.samples);
    keys.number("tracePackets", check.tracePackets);
    keys.number("otherPackets", check.otherPackets);
    keys.number("badTrailers", check.badTrailers);
    keys.number("cutPackets", check.cutPackets);
    keys.number("words", check.words);
    keys.number("padding", check.padding);
    keys.number("wordsCompared", check.wordsCompared);
    keys.number("wordsJudged", check.wordsJudged);
    keys.number("wrongWords", check.wrongWords);
    keys.number("sequences", check.sequences);
    keys.number("halfSequences", check.halfSequences);
    keys.number("sequencesDamaged", check.sequencesDamaged);
    keys.number("wordsBetween", check.wordsBetween);
    keys.number("lostWords", check.lostWords);
    keys.number("insertedWords", check.insertedWords);
    keys.number("gaps", check.gaps);
    keys.number("damageCount", check.damageCount);
}

StreamCheck readStream(const Keys& keys) {
    StreamCheck check;
    keys.named("exportKind", check.form.mode, streamModeNamed);
    keys.flag("exportKindRecognised", check.modeRecognised);
    keys.number("dataPins", check.form.lanes);
    keys.text("pattern", check.form.pattern);
    keys.number("hertz", check.form.clockHertz);
    keys.number("samplesAnnounced", check.form.announcedSamples);
    keys.named("verdict", check.verdict, streamVerdictNamed);
    keys.text("reason", check.reason);
    readCounts(keys, check);
    keys.inside("firstDamage", [&](const Keys& damage) { check.firstDamage = readDamage(damage); });
    keys.each("damages", [&](const Keys& damage) { check.damages.push_back(readDamage(damage)); });
    keys.each("lanes", [&](const Keys& lane) { check.lanes.push_back(readLaneDamage(lane)); });
    // Readers of a damaged stream's check rely on its first damage.
    keys.expect(check.verdict != StreamVerdict::Damaged || check.firstDamage.has_value(), "firstDamage");
    return check;
}

WordCheck readWords(const Keys& keys) {
    WordCheck check;
    keys.named("when", check.when, whenNamed);
    keys.text("pattern", check.pattern);
    keys.number("askedErrorRate", check.askedErrorRate);
    keys.number("bits", check.bits);
    keys.number("errors", check.errors);
    keys.each("lanes", [&](const Keys& item) {
        LaneErrors lane;
        item.named("lane", lane.lane, laneNamed);
        item.number("errors", lane.errors);
        item.number("early", lane.early);
        item.number("late", lane.late);
        check.lanes.push_back(lane);
    });
    keys.inside("firstDamage", [&](const Keys& damage) { check.firstDamage = readDamage(damage); });
    keys.text("failure", check.failure);
    return check;
}

toolkit::LaneNames readNames(const Keys& keys) {
    toolkit::LaneNames names;
    keys.texts("names", [&](const std::string& pin, const std::string& name) {
        try {
            names.give(pin, name);
        } catch (const toolkit::Failure&) {
            keys.expect(false, "names");
        }
    });
    return names;
}

RecordingCheck readRecording(const Keys& keys) {
    RecordingCheck recording;
    keys.number("samplesAnnounced", recording.announcedSamples);
    keys.number("samples", recording.samples);
    keys.text("failure", recording.failure);
    keys.inside("stream", [&](const Keys& stream) { recording.stream = readStream(stream); });
    return recording;
}

} // namespace

double errorRateBound(std::uint64_t bits, std::uint64_t errors) {
    if (bits == 0) {
        return 1.0;
    }
    if (errors == 0) {
        return std::min(1.0, bitsWithoutError / static_cast<double>(bits));
    }
    // The Poisson distribution's upper limit as Wilson and Hilferty approximate it; within half a percent.
    constexpr double quantile = 1.6449;
    const double count = static_cast<double>(errors) + 1.0;
    const double root = 1.0 - 1.0 / (9.0 * count) + quantile / (3.0 * std::sqrt(count));
    return std::min(1.0, count * root * root * root / static_cast<double>(bits));
}

std::uint64_t bitsThatExclude(double errorRate) {
    return static_cast<std::uint64_t>(std::ceil(bitsWithoutError / errorRate));
}

double WordCheck::bound() const {
    return errorRateBound(bits, errors);
}

std::string_view whenName(WordCheck::When when) {
    return whens[static_cast<std::size_t>(when)];
}

RunChecks parseRunChecks(std::string_view text, const std::string& file) {
    const json parsed = json::parse(text, nullptr, toolkit::noExceptions);
    if (parsed.is_discarded()) {
        toolkit::damaged(file, 0, "no JSON");
    }
    const Keys keys(parsed, file);
    int schema = toolkit::jsonSchema;
    keys.number("schema", schema);
    if (schema != toolkit::jsonSchema) {
        toolkit::damaged(file, 0,
                         "another version of orvtrace wrote it, schema " + std::to_string(schema) +
                             "; this version reads schema " + std::to_string(toolkit::jsonSchema));
    }
    unsigned code = 0;
    keys.number("exitCode", code);
    keys.expect(code <= static_cast<unsigned>(toolkit::ExitCode::FaultsFound), "exitCode");
    RunChecks checks;
    checks.code = static_cast<toolkit::ExitCode>(code);
    keys.text("failure", checks.failure);
    checks.names = readNames(keys);
    keys.each("words", [&](const Keys& item) { checks.words.push_back(readWords(item)); });
    keys.each("recordings", [&](const Keys& item) { checks.recordings.push_back(readRecording(item)); });
    keys.inside("given", [&](const Keys& given) {
        checks.given.emplace();
        given.text("origin", checks.given->origin);
        given.text("from", checks.given->from);
        given.number("setting", checks.given->setting);
    });
    return checks;
}

} // namespace diagnosis
