#include "diagnosis/burst/Markup.h"
#include "diagnosis/report/Sections.h"
#include "toolkit/Format.h"

#include <fmt/core.h>

namespace diagnosis::page {

namespace {

std::string list(const std::vector<std::pair<std::string, std::string>>& entries) {
    std::string out;
    for (const auto& [key, value] : entries) {
        out += element("dt", "", escaped(key)) + element("dd", "", value.empty() ? "&nbsp;" : escaped(value));
    }
    return element("dl", "", out);
}

std::string registerTable(const DiagnosticSet& set, const RegisterDump& dump) {
    const unsigned channel = channelOf(dump);
    std::string rows;
    for (const RegisterValue& entry : dump) {
        const RegisterText text = describe(entry, channel, [&](std::size_t proc) { return pinLabel(set, proc); });
        std::string what = escaped(text.name);
        if (!text.meaning.empty() && entry.value != 0) {
            what += ": " + escaped(text.meaning);
        }
        rows += std::string(entry.value == 0 ? "<div class=\"zero\">" : "<div>") + "<code>" +
                fmt::format("{:08x}", entry.address) + "</code><code>" + fmt::format("{:04x}", entry.value) +
                "</code><span class=\"what\">" + what + "</span></div>";
    }
    return element("div", "registers", rows);
}

} // namespace

std::string registerSection(const DiagnosticSet& set) {
    const FileGroup* group = set.base.registers ? &set.base : nullptr;
    if (!set.attempts.empty() && set.attempts.back().registers) {
        group = &set.attempts.back();
    }
    if (group == nullptr) {
        return {};
    }
    const std::string hint = group->setting ? "As " + escaped(attemptTitle(*group)) + " left them."
                                            : std::string("As they were last written.");
    return section("registers", element("h2", "", "Registers of the unit") + element("p", "hint", hint) +
                                    "<details><summary>" + toolkit::countText(group->registers->size(), "register") +
                                    "</summary>" + registerTable(set, *group->registers) + "</details>");
}

std::string propertySection(const DiagnosticSet& set) {
    std::string out;
    if (set.properties) {
        for (const PropertiesSection& section : set.properties->sections) {
            out += element("h3", "", escaped(section.name)) + list(section.entries);
        }
    }
    const FileGroup& last = set.attempts.empty() ? set.base : set.attempts.back();
    if (last.cal && !last.cal->properties.empty()) {
        const bool written = !last.cal->rates.belowAnalysis();
        out += element("h3", "",
                       written ? "Calibration, to be used again" : "Calibration report, not written to the unit") +
               list(last.cal->properties);
    }
    if (set.pinMap) {
        out += element("h3", "", "Pin map of the last calibration that succeeded") +
               element("p", "", element("code", "", escaped(*set.pinMap)));
    }
    return section("properties", out.empty() ? out
                                             : element("h2", "", "Properties") + "<details><summary>all values" +
                                                   "</summary>" + out + "</details>");
}

std::string fileSection(const DiagnosticSet& set) {
    std::string names;
    for (const std::string& name : set.files) {
        names += (names.empty() ? "" : ", ") + escaped(name);
    }
    std::string out = element("h2", "", "Files") + element("p", "hint", names);
    if (set.recordedBytes) {
        out += element("p", "hint",
                       "The recording holds " + std::to_string(*set.recordedBytes) +
                           " bytes; its content is not part "
                           "of this report.");
    }
    return section("files", out);
}

} // namespace diagnosis::page
