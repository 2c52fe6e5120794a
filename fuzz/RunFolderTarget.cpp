#include "diagnosis/Diagnosis.h"
#include "diagnosis/analysis/DiagnosticSet.h"
#include "fuzz/MarkupCheck.h"
#include "fuzz/Require.h"
#include "fuzz/Scratch.h"
#include "fuzz/Targets.h"
#include "fuzz/Text.h"
#include "toolkit/JsonText.h"
#include "toolkit/Masked.h"

#include <algorithm>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace fuzz {

namespace {

namespace fs = std::filesystem;
using namespace std::string_view_literals;

constexpr std::size_t mostFiles = 16;
constexpr std::size_t longestEnding = 24;
constexpr auto mark = "== "sv;

struct NamedText {
    std::string name;
    std::string_view text;
};

/// Names that are the same on all systems; nothing for any other ending.
std::optional<std::string> nameOf(std::string_view ending) {
    constexpr auto allowed = ".abcdefghijklmnopqrstuvwxyz0123456789"sv;
    if (ending.empty() || ending.size() > longestEnding || ending.front() != '.' || ending.back() == '.' ||
        ending.find_first_not_of(allowed) != std::string_view::npos) {
        return std::nullopt;
    }
    return ending == ".log" ? "vx_trace_log_1.txt" : "board" + std::string(ending);
}

std::vector<NamedText> filesOf(std::string_view text) {
    std::vector<NamedText> files;
    while (text.starts_with(mark) && files.size() < mostFiles) {
        text.remove_prefix(mark.size());
        const std::string_view ending = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), ending.size() + 1));
        const std::size_t next = text.starts_with(mark) ? 0 : text.find("\n== "sv) + 1;
        const std::string_view content = text.starts_with(mark) ? ""sv : text.substr(0, next != 0 ? next : text.size());
        if (const auto name = nameOf(ending)) {
            files.push_back({*name, content});
        }
        text.remove_prefix(content.size());
    }
    return files;
}

std::optional<diagnosis::DiagnosticSet> readFolder() {
    try {
        return diagnosis::readDiagnostics(scratchFolder());
    } catch (const toolkit::Failure& failure) {
        require(failure.code == toolkit::ExitCode::BadInput || failure.code == toolkit::ExitCode::Usage,
                failure.what());
        return std::nullopt;
    }
}

void check(const diagnosis::DiagnosticSet& set) {
    const diagnosis::Diagnosis found = diagnosis::diagnose(set);
    require(found.verdicts.size() == set.attempts.size(), "each attempt has its verdict");
    for (const diagnosis::Finding& finding : found.findings) {
        require(!finding.text.empty() && !finding.remedy.empty(), "a finding says what to check");
    }
    requirePage(diagnosis::reportPage(set, found));
    requirePrintable(toolkit::maskedLines(diagnosis::diagnosisText(set, found)));
    const std::string json = toolkit::jsonText(diagnosis::diagnosisJson(set, found));
    requirePrintable(json);
    require(nlohmann::json::accept(json), "the object is JSON");
}

} // namespace

void runFolder(Input input) {
    const std::vector<NamedText> files = filesOf(textOf(input));
    for (const NamedText& file : files) {
        scratchFile(file.name, file.text);
    }
    if (const auto set = readFolder()) {
        check(*set);
    }
    for (const NamedText& file : files) {
        std::error_code ignored;
        fs::remove(scratchFolder() / file.name, ignored);
    }
}

} // namespace fuzz
