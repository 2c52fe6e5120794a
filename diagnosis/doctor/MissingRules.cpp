#include "diagnosis/doctor/Rules.h"

#include <algorithm>

// What cannot be told from these files, and why.

namespace diagnosis::rules {

namespace {

/// A kind of file that each attempt leaves, and what nobody can tell without it.
struct FileKind {
    const char* name;
    bool (*there)(const FileGroup&);
    const char* limit;
};

constexpr FileKind kinds[] = {
    {"report (.cal.txt)", [](const FileGroup& group) { return group.cal.has_value(); },
     "There is no calibration report, so that the margins cannot be looked at."},
    {"burst (.cap.txt)", [](const FileGroup& group) { return group.burst.has_value(); },
     "There is no burst, so that the clock and the pins themselves cannot be looked at."},
    {"register dump (.reg.txt)", [](const FileGroup& group) { return group.registers.has_value(); },
     "There is no register dump, so that what the unit holds cannot be compared."},
};

} // namespace

void findMissing(const Case& given, Diagnosis& diagnosis) {
    if (given.set.manual()) {
        diagnosis.judged = false;
        return;
    }
    const bool untold = !diagnosis.calibrated;
    diagnosis.judged = !untold;
    std::vector<const FileGroup*> groups = given.attempts;
    if (groups.empty()) {
        groups.push_back(&given.set.base);
    }
    for (const FileKind& kind : kinds) {
        if (std::any_of(groups.begin(), groups.end(), [&](const FileGroup* group) { return kind.there(*group); })) {
            continue;
        }
        diagnosis.missing.emplace_back(kind.name);
        diagnosis.limits.emplace_back(kind.limit);
    }
    const bool proof = std::any_of(groups.begin(), groups.end(),
                                   [](const FileGroup* group) { return group->verification.has_value(); });
    // An attempt that was refused ahead of its proof has none to miss.
    if (untold && !proof) {
        diagnosis.missing.emplace_back("proof (.ver)");
    }
    const double rate = groups.back()->rates().exportFrequency;
    if (rate > 0.0 && rate < slowestAnalysed && groups.back()->setting &&
        !hasFinding(diagnosis.findings, "clock-suspect", 0)) {
        diagnosis.limits.emplace_back("Below 10.1 MHz the receiver measures nothing on the pins and keeps the unit's "
                                      "default settings: there are no margins and no correlations, and only the proof "
                                      "tells.");
    }
}

} // namespace diagnosis::rules
