#include "diagnosis/files/ChecksJson.h"

#include "toolkit/JsonText.h"

#include <array>

namespace diagnosis {

namespace {

using nlohmann::json;
using toolkit::orNull;

json laneJson(const std::optional<unsigned>& lane) {
    return lane ? json(toolkit::pinKey(*lane + 1)) : json();
}

json placeJson(const StreamPlace& place) {
    return {
        {"sample", place.sample}, {"byte", place.byte}, {"percent", place.percent}, {"seconds", orNull(place.seconds)}};
}

json damageJson(const Damage& damage) {
    return {{"kind", damageKindName(damage.kind)},
            {"place", placeJson(damage.place)},
            {"lane", laneJson(damage.lane)},
            {"carries", laneJson(damage.carries)},
            {"amount", damage.amount},
            {"atLeast", damage.amountIsLeast},
            {"atBlock", damage.atBlock}};
}

json damageOrNull(const std::optional<Damage>& damage) {
    return damage ? damageJson(*damage) : json();
}

json streamLanesJson(const std::vector<LaneDamage>& lanes) {
    json all = json::array();
    for (const LaneDamage& lane : lanes) {
        all.push_back({{"lane", laneJson(lane.lane)},
                       {"kind", damageKindName(lane.kind)},
                       {"carries", laneJson(lane.carries)},
                       {"wrongBits", lane.wrongBits},
                       {"likePreceding", lane.likePreceding},
                       {"likeNext", lane.likeNext},
                       {"first", placeJson(lane.first)}});
    }
    return all;
}

json streamJson(const StreamCheck& check) {
    json damages = json::array();
    for (const Damage& damage : check.damages) {
        damages.push_back(damageJson(damage));
    }
    return {{"exportKind", check.form.mode == StreamMode::Unknown ? json() : json(streamModeName(check.form.mode))},
            {"exportKindRecognised", check.modeRecognised},
            {"dataPins", check.form.lanes},
            {"pattern", orNull(check.form.pattern)},
            {"hertz", check.form.clockHertz},
            {"samplesAnnounced", orNull(check.form.announcedSamples)},
            {"verdict", streamVerdictName(check.verdict)},
            {"reason", orNull(check.reason)},
            {"bytes", check.bytes},
            {"samples", check.samples},
            {"tracePackets", check.tracePackets},
            {"otherPackets", check.otherPackets},
            {"badTrailers", check.badTrailers},
            {"cutPackets", check.cutPackets},
            {"words", check.words},
            {"padding", check.padding},
            {"wordsCompared", check.wordsCompared},
            {"wordsJudged", check.wordsJudged},
            {"wrongWords", check.wrongWords},
            {"sequences", check.sequences},
            {"halfSequences", check.halfSequences},
            {"sequencesDamaged", check.sequencesDamaged},
            {"wordsBetween", check.wordsBetween},
            {"lostWords", check.lostWords},
            {"insertedWords", check.insertedWords},
            {"gaps", check.gaps},
            {"firstDamage", damageOrNull(check.firstDamage)},
            {"damages", damages},
            {"damageCount", check.damageCount},
            {"lanes", streamLanesJson(check.lanes)}};
}

json recordingJson(const RecordingCheck& recording) {
    return {{"samplesAnnounced", recording.announcedSamples},
            {"samples", recording.samples},
            {"failure", orNull(recording.failure)},
            {"stream", recording.stream ? streamJson(*recording.stream) : json()}};
}

json givenJson(const std::optional<GivenSetting>& given) {
    return given ? json{{"origin", given->origin}, {"from", orNull(given->from)}, {"setting", given->setting}} : json();
}

} // namespace

json wordCheckJson(const WordCheck& check) {
    json lanes = json::array();
    for (const LaneErrors& lane : check.lanes) {
        lanes.push_back(
            {{"lane", laneJson(lane.lane)}, {"errors", lane.errors}, {"early", lane.early}, {"late", lane.late}});
    }
    return {{"when", whenName(check.when)},
            {"pattern", orNull(check.pattern)},
            {"askedErrorRate", check.askedErrorRate},
            {"bits", check.bits},
            {"errors", check.errors},
            {"errorRateBelow", check.bound()},
            {"lanes", lanes},
            {"firstDamage", damageOrNull(check.firstDamage)},
            {"failure", orNull(check.failure)}};
}

json runChecksJson(const RunChecks& checks) {
    json words = json::array();
    for (const WordCheck& each : checks.words) {
        words.push_back(wordCheckJson(each));
    }
    json recordings = json::array();
    for (const RecordingCheck& each : checks.recordings) {
        recordings.push_back(recordingJson(each));
    }
    return {{"schema", toolkit::jsonSchema},
            {"exitCode", static_cast<int>(checks.code)},
            {"failure", orNull(checks.failure)},
            {"names", checks.names.all()},
            {"words", words},
            {"recordings", recordings},
            {"given", givenJson(checks.given)}};
}

std::string runChecksText(const RunChecks& checks) {
    return toolkit::jsonText(runChecksJson(checks));
}

} // namespace diagnosis
