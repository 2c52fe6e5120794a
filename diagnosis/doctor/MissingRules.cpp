#include "diagnosis/doctor/Rules.h"

#include <algorithm>

// What these files cannot show, and why.

namespace diagnosis::rules {

namespace {

/// A kind of file that each attempt leaves, and what cannot be checked without it.
struct FileKind {
    const char* name;
    bool (*there)(const FileGroup&);
    const char* limit;
};

constexpr FileKind kinds[] = {
    {"report (.cal.txt)", [](const FileGroup& group) { return group.cal.has_value(); },
     "There is no calibration report, so that the margins cannot be checked."},
    {"burst (.cap.txt)", [](const FileGroup& group) { return group.burst.has_value(); },
     "There is no burst, so that the clock and the pins themselves cannot be checked."},
    {"register dump (.reg.txt)", [](const FileGroup& group) { return group.registers.has_value(); },
     "There is no register dump, so that the unit's settings cannot be checked."},
};

} // namespace

void findMissing(Case& given, Diagnosis& diagnosis) {
    if (given.set.manual()) {
        diagnosis.judged = false;
        return;
    }
    diagnosis.judged = diagnosis.calibrated.has_value();
    std::vector<const FileGroup*> groups = given.attempts;
    if (groups.empty()) {
        groups.push_back(&given.set.base);
    }
    const auto someHave = [&](const auto& there) {
        return std::any_of(groups.begin(), groups.end(), [&](const FileGroup* group) { return there(*group); });
    };
    for (const FileKind& kind : kinds) {
        if (!someHave(kind.there)) {
            diagnosis.missing.emplace_back(kind.name);
            given.limits.emplace_back(kind.limit);
        }
    }
    // An attempt that was refused before its verification has no recording of one.
    if (!diagnosis.calibrated && !someHave([](const FileGroup& group) { return group.verification.has_value(); })) {
        diagnosis.missing.emplace_back("verification (.ver)");
    }
    if (groups.back()->rates().belowAnalysis() && groups.back()->setting && !given.has(FindingKind::ClockSuspect, 0)) {
        given.limits.emplace_back(
            "Below 10.1 MHz the receiver measures nothing on the pins and keeps the unit's "
            "default settings: its report has no margins and no correlations. The verdict's margins "
            "are those of the burst, where it has enough changes.");
    }
}

} // namespace diagnosis::rules
