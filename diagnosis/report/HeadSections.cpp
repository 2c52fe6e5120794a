#include "diagnosis/burst/Markup.h"
#include "diagnosis/doctor/DiagnosisText.h"
#include "diagnosis/report/Sections.h"
#include "toolkit/Format.h"

namespace diagnosis::page {

namespace {

std::string fact(const std::string& value, const std::string& what) {
    return "<div class=\"fact\"><b>" + escaped(value) + "</b><span>" + escaped(what) + "</span></div>";
}

std::string badge(const char* look, const std::string& text) {
    return std::string("<span class=\"badge ") + look + "\">" + escaped(text) + "</span>";
}

/// The same with a capital at its start.
std::string sentence(std::string text) {
    if (!text.empty() && text.front() >= 'a' && text.front() <= 'z') {
        text.front() = static_cast<char>(text.front() - 'a' + 'A');
    }
    return text;
}

std::string findingBox(const Finding& finding) {
    const bool fault = finding.severity == Finding::Severity::Fault;
    std::string evidence;
    for (const std::string& line : finding.evidence) {
        evidence += element("li", "", escaped(line));
    }
    return element("div", fault ? "finding" : "finding note",
                   "<h3>" + badge(fault ? "bad" : "warn", fault ? "fault" : "note") + " " +
                       escaped(sentence(finding.text)) + "</h3>" + element("ul", "", evidence) +
                       element("p", "check", "<b>Check:</b> " + escaped(finding.remedy)));
}

/// The attempt that was kept, or the last.
const FileGroup& mainGroup(const DiagnosticSet& set) {
    return set.attempts.empty() ? set.base : set.attempts.back();
}

/// Shown in place of faults: green only when the board was judged and found good.
std::string noFaultBox(const DiagnosticSet& set, const Diagnosis& diagnosis) {
    const auto box = [](const char* look, const char* word, const char* heading, const std::string& text) {
        return element("div", std::string(look) == "good" ? "finding none" : "finding plain",
                       "<h3>" + badge(look, word) + " " + heading + "</h3>" + element("p", "", escaped(text)));
    };
    if (set.manual()) {
        return box("plain", "not judged", "Nothing was measured", "The values were given: there is nothing to judge.");
    }
    if (!diagnosis.judged) {
        return box("plain", "not judged", "Too little to judge by", sentence(whatIsMissing(diagnosis)) + ".");
    }
    if (!diagnosis.calibrated.value_or(false)) {
        return box("plain", "not known", "Not calibrated, for a reason that the files do not show",
                   "No fault that the rules know. The log may have more.");
    }
    return box("good", "sound", "Nothing is broken",
               "The board was " + diagnosis.headline + ", and the files show no fault: nothing needs to be checked.");
}

} // namespace

std::string verdictBadge(const Verdict& verdict) {
    switch (verdict.outcome) {
    case Verdict::Outcome::Accepted:
        return badge("good", "accepted");
    case Verdict::Outcome::Rejected:
        return badge("bad", "rejected");
    case Verdict::Outcome::Unknown:
        break;
    }
    return badge("plain", "unknown");
}

std::string headSection(const DiagnosticSet& set, const Diagnosis& diagnosis) {
    const FileGroup& shown = mainGroup(set);
    const Rates rates = shown.rates();
    const char* look = !diagnosis.judged ? "plain" : diagnosis.calibrated.value_or(false) ? "good" : "bad";
    std::string out = element("h1", "", "Calibration of " + escaped(set.name));
    out += element("p", "sub", badge(look, diagnosis.headline));
    std::string facts;
    if (rates.known()) {
        facts += fact(toolkit::frequencyText(rates.exportFrequency), "trace clock");
        facts += fact(toolkit::numberText(rates.dataRate / 1e6, 1) + " Mbit/s", "over all data pins");
        facts += fact(toolkit::numberText(rates.oversampling, 2), "samples a clock period");
    } else {
        facts += fact("none", "trace clock measured");
    }
    if (shown.pins() > 1) {
        facts += fact("clock + " + std::to_string(shown.pins() - 1), "pins");
    }
    const std::string kind = set.exportKind();
    if (!kind.empty()) {
        facts += fact(kind, "kind of export");
    }
    facts +=
        fact(toolkit::numberText(1e12 / set.sampleRate(), 0) + " ps", rates.known() ? "a sample" : "a sample, usually");
    return out + element("div", "facts", facts);
}

std::string conclusionSection(const DiagnosticSet& set, const Diagnosis& diagnosis) {
    std::string out = element("h2", "", "What was found");
    if (!diagnosis.hasFaults()) {
        out += noFaultBox(set, diagnosis);
    }
    for (const Finding& finding : diagnosis.findings) {
        out += findingBox(finding);
    }
    for (const std::string& limit : diagnosis.limits) {
        out += element("p", "hint", escaped(limit));
    }
    for (const std::string& trouble : set.troubles) {
        out += element("p", "hint", badge("warn", "left out") + " " + escaped(trouble));
    }
    return out;
}

std::string overviewSection(const DiagnosticSet& set, const Diagnosis& diagnosis) {
    if (set.attempts.empty()) {
        return {};
    }
    std::string rows = "<tr><th>setting</th><th class=\"n\">clock</th><th class=\"n\">samples in its period</th>"
                       "<th>verdict</th><th>why</th></tr>";
    for (std::size_t i = 0; i < set.attempts.size(); ++i) {
        const FileGroup& attempt = set.attempts[i];
        const Verdict& verdict = diagnosis.verdicts[i];
        const Rates rates = attempt.rates();
        rows += "<tr>" + cell(std::to_string(*attempt.setting), "pin") +
                cell(rates.known() ? toolkit::frequencyText(rates.exportFrequency) : "-", "n") +
                cell(rates.known() ? toolkit::numberText(rates.oversampling, 2) : "-", "n") +
                cell(verdictBadge(verdict)) + cell(verdictText(verdict)) + "</tr>";
    }
    return element("h2", "", "The attempts, in the order in which they were made") +
           element("div", "scroll", element("table", "", rows));
}

} // namespace diagnosis::page
