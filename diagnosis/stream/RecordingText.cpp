#include "diagnosis/stream/RecordingCheck.h"
#include "toolkit/Format.h"
#include "toolkit/JsonText.h"
#include "toolkit/Masked.h"

#include <fmt/core.h>

namespace diagnosis {

namespace {

constexpr std::size_t shownDamages = 6;

std::string laneText(const FileCheck& recording, unsigned lane) {
    return recording.facts.names.label({lane + 1, recording.check.form.lanes, {}});
}

std::string placeText(const StreamPlace& place) {
    return fmt::format("sample {} (byte {}, {:.2f} %{})", place.sample, place.byte, place.percent,
                       place.seconds ? fmt::format(", {:.6f} s", *place.seconds) : "");
}

std::string damageText(const FileCheck& recording, const Damage& damage) {
    const std::string lane = damage.lane ? laneText(recording, *damage.lane) : std::string("the words");
    const auto bits = [&](const char* what) {
        return fmt::format("{} {}: {}", lane, what, toolkit::countText(damage.amount, "wrong bit"));
    };
    switch (damage.kind) {
    case DamageKind::Noise:
        return damage.lane ? bits("has noise") : toolkit::countText(damage.amount, "wrong word");
    case DamageKind::DriftEarly:
        return bits("is early (shows the next slot's bit)");
    case DamageKind::DriftLate:
        return bits("is late (shows the preceding slot's bit)");
    case DamageKind::StuckAt0:
        return bits("is stuck at 0");
    case DamageKind::StuckAt1:
        return bits("is stuck at 1");
    case DamageKind::Swapped:
        if (damage.lane == damage.carries) {
            return lane + " carries its own bits again";
        }
        return fmt::format("{} carries the bits of {}", lane, laneText(recording, damage.carries.value_or(0)));
    case DamageKind::LostWords:
        return fmt::format("{} lost{}{}", toolkit::countText(damage.amount, "word"),
                           damage.amountIsLeast ? ", or more" : "", damage.atBlock ? ", where blocks join" : "");
    case DamageKind::InsertedWords:
        return fmt::format("{} too many{}", toolkit::countText(damage.amount, "word"),
                           damage.atBlock ? ", where blocks join" : "");
    case DamageKind::CutPacket:
        return fmt::format("a packet is {} too short or too long", toolkit::countText(damage.amount, "byte"));
    case DamageKind::BadTrailer:
        return "a packet ends in no trailer";
    case DamageKind::MissingSamples:
        break;
    }
    return fmt::format("the stream ends here, {} missing or left over", toolkit::countText(damage.amount, "byte"));
}

std::string formText(const FileCheck& recording) {
    const StreamForm& form = recording.check.form;
    std::string text =
        form.mode == StreamMode::Unknown ? "export kind not known" : std::string(streamModeName(form.mode));
    text += recording.check.modeRecognised ? " (recognised)" : "";
    text += form.lanes == 0 ? ", number of data pins not known" : ", " + toolkit::countText(form.lanes, "data pin");
    text += form.pattern.empty() ? "" : ", pattern " + toolkit::masked(form.pattern);
    text += form.clockHertz > 0.0 ? ", clock " + toolkit::frequencyText(form.clockHertz) : "";
    return text;
}

std::string countsText(const StreamCheck& check) {
    std::string text = toolkit::countText(check.samples, "sample") + ", " + toolkit::countText(check.words, "word");
    if (check.form.mode == StreamMode::Pti) {
        text += fmt::format("; {} of trace, {} other, {} bad, {} cut", toolkit::countText(check.tracePackets, "packet"),
                            check.otherPackets, check.badTrailers, check.cutPackets);
    }
    return text;
}

std::string sequencesText(const StreamCheck& check) {
    if (check.sequences + check.sequencesDamaged == 0) {
        return "no synchronisation found";
    }
    std::string text = toolkit::countText(check.sequences, "synchronisation");
    text += check.wordsBetween != 0
                ? fmt::format(", one in {} words; {} damaged", check.wordsBetween, check.sequencesDamaged)
                : ", at no regular distance";
    text += check.halfSequences != 0 ? ", " + toolkit::countText(check.halfSequences, "half word") : "";
    return text;
}

nlohmann::json placeJson(const StreamPlace& place) {
    return {{"sample", place.sample},
            {"byte", place.byte},
            {"percent", place.percent},
            {"seconds", toolkit::orNull(place.seconds)}};
}

nlohmann::json laneJson(const std::optional<unsigned>& lane) {
    return lane ? nlohmann::json(toolkit::pinKey(*lane + 1)) : nlohmann::json();
}

nlohmann::json damageJson(const FileCheck& recording, const Damage& damage) {
    return {{"kind", damageKindName(damage.kind)},
            {"place", placeJson(damage.place)},
            {"lane", laneJson(damage.lane)},
            {"carries", laneJson(damage.carries)},
            {"amount", damage.amount},
            {"atLeast", damage.amountIsLeast},
            {"atBlock", damage.atBlock},
            {"text", damageText(recording, damage)}};
}

} // namespace

std::string recordingVerdict(const FileCheck& recording) {
    const StreamCheck& check = recording.check;
    switch (check.verdict) {
    case StreamVerdict::Sound:
        return fmt::format("sound: {} of the words judged{}", toolkit::percentText(check.evidence()),
                           check.form.pattern.empty() ? ", by synchronisation" : ", by the pattern");
    case StreamVerdict::Damaged:
        return fmt::format("damaged from {}: {}", placeText(check.firstDamage->place),
                           damageText(recording, *check.firstDamage));
    case StreamVerdict::Unknown:
        break;
    }
    return "unknown: " + check.reason;
}

std::string recordingText(const FileCheck& recording) {
    const StreamCheck& check = recording.check;
    std::string text = toolkit::masked(recording.name) + ": " + formText(recording) + "\n";
    text += recordingVerdict(recording) + "\n";
    text += "  " + countsText(check) + "\n";
    text += "  " + sequencesText(check) + "\n";
    text += fmt::format("  {} judged ({}), {} wrong\n", toolkit::countText(check.wordsJudged, "word"),
                        toolkit::percentText(check.evidence()), check.wrongWords);
    const std::size_t shown = std::min(check.damages.size(), shownDamages);
    for (std::size_t i = 0; i < shown; ++i) {
        text += "  " + placeText(check.damages[i].place) + ": " + damageText(recording, check.damages[i]) + "\n";
    }
    if (check.damageCount > shown) {
        text += fmt::format("  and {} more\n", check.damageCount - shown);
    }
    return text;
}

nlohmann::json recordingJson(const FileCheck& recording) {
    const StreamCheck& check = recording.check;
    nlohmann::json out;
    out["file"] = recording.name;
    out["verdict"] = streamVerdictName(check.verdict);
    out["headline"] = recordingVerdict(recording);
    out["reason"] = toolkit::orNull(check.reason);
    const StreamForm& form = check.form;
    out["exportKind"] = form.mode == StreamMode::Unknown ? nlohmann::json() : nlohmann::json(streamModeName(form.mode));
    out["exportKindRecognised"] = check.modeRecognised;
    out["dataPins"] = form.lanes == 0 ? nlohmann::json() : nlohmann::json(form.lanes);
    out["pattern"] = toolkit::orNull(form.pattern);
    out["hertz"] = form.clockHertz > 0.0 ? nlohmann::json(form.clockHertz) : nlohmann::json();
    out["runFiles"] = toolkit::orNull(recording.facts.source);
    out["notes"] = recording.facts.notes;
    out["bytes"] = check.bytes;
    out["samples"] = check.samples;
    out["samplesAnnounced"] = toolkit::orNull(form.announcedSamples);
    out["packets"] = {{"trace", check.tracePackets},
                      {"other", check.otherPackets},
                      {"badTrailers", check.badTrailers},
                      {"cut", check.cutPackets}};
    out["words"] = check.words;
    out["padding"] = check.padding;
    out["wordsJudged"] = check.wordsJudged;
    out["wordsCompared"] = check.wordsCompared;
    out["wrongWords"] = check.wrongWords;
    out["evidence"] = check.evidence();
    out["synchronisation"] = {
        {"found", check.sequences},
        {"damaged", check.sequencesDamaged},
        {"halfWords", check.halfSequences},
        {"period", check.wordsBetween == 0 ? nlohmann::json() : nlohmann::json(check.wordsBetween)}};
    out["lostWords"] = check.lostWords;
    out["insertedWords"] = check.insertedWords;
    out["gaps"] = check.gaps;
    out["firstDamage"] = check.firstDamage ? damageJson(recording, *check.firstDamage) : nlohmann::json();
    out["damageCount"] = check.damageCount;
    out["damages"] = nlohmann::json::array();
    for (const Damage& damage : check.damages) {
        out["damages"].push_back(damageJson(recording, damage));
    }
    out["labels"] = toolkit::labelsJson(form.lanes == 0 ? 0 : form.lanes + 1, [&](std::size_t proc) {
        return recording.facts.names.label({proc, form.lanes, {}});
    });
    out["lanes"] = nlohmann::json::array();
    for (const LaneDamage& lane : check.lanes) {
        out["lanes"].push_back({{"lane", laneJson(lane.lane)},
                                {"kind", damageKindName(lane.kind)},
                                {"carries", laneJson(lane.carries)},
                                {"wrongBits", lane.wrongBits},
                                {"likePreceding", lane.likePreceding},
                                {"likeNext", lane.likeNext},
                                {"first", placeJson(lane.first)}});
    }
    return out;
}

} // namespace diagnosis
