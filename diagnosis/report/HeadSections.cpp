#include "diagnosis/burst/Markup.h"
#include "diagnosis/report/Sections.h"
#include "toolkit/Format.h"

#include <fmt/core.h>

#include <algorithm>

namespace diagnosis::page {

namespace {

/// The first registers of a dump, which identify the unit.
constexpr std::size_t unitIds = 4;

std::string fact(const std::string& value, const std::string& what) {
    return "<div class=\"fact\"><b>" + escaped(value) + "</b><span>" + escaped(what) + "</span></div>";
}

std::string badge(const char* look, const std::string& text) {
    return std::string("<span class=\"badge ") + look + "\">" + escaped(text) + "</span>";
}

/// The same with a capital at its start; a name that the user gave keeps its letters.
std::string sentence(const DiagnosticSet& set, std::string text) {
    if (!set.names.begins(text) && !text.empty() && text.front() >= 'a' && text.front() <= 'z') {
        text.front() = static_cast<char>(text.front() - 'a' + 'A');
    }
    return text;
}

std::string findingBox(const DiagnosticSet& set, const Finding& finding) {
    const bool fault = finding.severity == Finding::Severity::Fault;
    std::string evidence;
    for (const std::string& line : finding.evidence) {
        evidence += element("li", "", escaped(line));
    }
    return element("div", fault ? "finding" : "finding note",
                   "<h3>" + badge(fault ? "bad" : "warn", fault ? "fault" : "note") + " " +
                       escaped(sentence(set, finding.text)) + "</h3>" + element("ul", "", evidence) +
                       element("p", "check", "<b>Check:</b> " + escaped(finding.remedy)));
}

/// The attempt that was kept, or the last.
const FileGroup& mainGroup(const DiagnosticSet& set) {
    return set.attempts.empty() ? set.base : set.attempts.back();
}

const char* lookOf(RunVerdict::Kind kind) {
    switch (kind) {
    case RunVerdict::Kind::Sound:
        return "good";
    case RunVerdict::Kind::Thin:
        return "warn";
    case RunVerdict::Kind::Fault:
        return "bad";
    case RunVerdict::Kind::Unknown:
        break;
    }
    return "plain";
}

const char* headingOf(RunVerdict::Kind kind) {
    switch (kind) {
    case RunVerdict::Kind::Sound:
        return "Nothing is broken";
    case RunVerdict::Kind::Thin:
        return "Nothing is broken, but little is to spare";
    case RunVerdict::Kind::Fault:
        return "Something is wrong";
    case RunVerdict::Kind::Unknown:
        break;
    }
    return "Too little to judge by";
}

const char* boxOf(RunVerdict::Kind kind) {
    switch (kind) {
    case RunVerdict::Kind::Sound:
        return "finding none";
    case RunVerdict::Kind::Thin:
        return "finding note";
    case RunVerdict::Kind::Fault:
        return "finding";
    case RunVerdict::Kind::Unknown:
        break;
    }
    return "finding plain";
}

/// The verdict with all that speaks for it.
std::string verdictBox(const DiagnosticSet& set, const RunVerdict& verdict) {
    std::string reasons;
    for (const RunVerdict::Reason& reason : verdict.reasons) {
        reasons += element("li", "", escaped(sentence(set, reason.text)));
    }
    std::string evidence;
    for (const Evidence& piece : verdict.evidence) {
        evidence += element("li", "", escaped((piece.isThere ? "" : "missing: ") + piece.name + ": " + piece.text));
    }
    return element("div", boxOf(verdict.kind),
                   "<h3>" + badge(lookOf(verdict.kind), verdictName(verdict.kind)) + " " + headingOf(verdict.kind) +
                       "</h3>" + (reasons.empty() ? "" : element("ul", "", reasons)) +
                       element("p", "check", "<b>Evidence:</b>") + element("ul", "", evidence));
}

/// The capture unit, as far as its registers name it.
std::string unitText(const DiagnosticSet& set) {
    const auto& dump = mainGroup(set).registers ? mainGroup(set).registers : set.base.registers;
    std::string ids;
    for (std::size_t i = 0; dump && i < std::min(unitIds, dump->size()); ++i) {
        ids += (ids.empty() ? "" : " ") + fmt::format("{:04x}", (*dump)[i].value);
    }
    return ids.empty() ? ids : "Capture unit " + ids;
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

std::string headSection(const DiagnosticSet& set, const Diagnosis& diagnosis, const RunVerdict& verdict) {
    const FileGroup& shown = mainGroup(set);
    const Rates rates = shown.rates();
    std::string out = element("h1", "", "Calibration of " + escaped(set.name));
    out += element("p", "sub",
                   badge(lookOf(verdict.kind), verdictName(verdict.kind)) + " " +
                       badge("plain label", diagnosis.headline));
    out += element("p", "hint", escaped(sentence(set, verdictLine(verdict))) + ".");
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
    return section("summary", out + element("div", "facts", facts));
}

std::string footerSection(const DiagnosticSet& set, const RunVerdict& verdict, const PageOrigin& origin) {
    std::string text = element("p", "",
                               badge(lookOf(verdict.kind), verdictName(verdict.kind)) + " " +
                                   escaped(sentence(set, verdictLine(verdict))) + ".");
    std::string made = "Made by " + (origin.program.empty() ? std::string("orvtrace") : origin.program) +
                       (origin.made.empty() ? "" : ", " + origin.made) + ", from the diagnostic files of " + set.name +
                       " alone.";
    const std::string unit = unitText(set);
    made += unit.empty() ? "" : " " + unit + ".";
    return "<footer id=\"origin\">" + text + element("p", "", escaped(made)) + "</footer>";
}

std::string conclusionSection(const DiagnosticSet& set, const Diagnosis& diagnosis, const RunVerdict& verdict) {
    std::string out = element("h2", "", "What was found") + verdictBox(set, verdict);
    for (const Finding& finding : diagnosis.findings) {
        out += findingBox(set, finding);
    }
    for (const std::string& limit : diagnosis.limits) {
        out += element("p", "hint", escaped(limit));
    }
    for (const std::string& trouble : set.troubles) {
        out += element("p", "hint", badge("warn", "left out") + " " + escaped(trouble));
    }
    return section("findings", out);
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
    return section("attempts", element("h2", "", "The attempts, in the order in which they were made") +
                                   element("div", "scroll", element("table", "attempts", rows)));
}

} // namespace diagnosis::page
