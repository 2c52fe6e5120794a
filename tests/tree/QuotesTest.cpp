#include "bench/scenarios/Scenario.h"
#include "diagnosis/doctor/FindingTable.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/tree/Examples.h"
#include "tests/tree/SourceTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <regex>
#include <sstream>

// What the documents quote from the tree, and what they say of it as a whole.

namespace tree {

namespace {

const Files& files() {
    static const Files all = readFiles(ORV_SOURCE_ROOT);
    return all;
}

struct Quotation {
    std::string document;
    std::string file;
    std::string text;
};

/// Fenced blocks after `<!-- quoted: FILE -->`.
std::vector<Quotation> quotations() {
    static const std::regex mark("<!-- quoted: (\\S+) -->\\n```\\w*\\n");
    std::vector<Quotation> all;
    for (const auto& [path, text] : files()) {
        if (!path.ends_with(".md")) {
            continue;
        }
        for (auto match = std::sregex_iterator(text.begin(), text.end(), mark); match != std::sregex_iterator();
             ++match) {
            const auto begin = static_cast<std::size_t>(match->position() + match->length());
            all.push_back({path, (*match)[1], text.substr(begin, text.find("\n```", begin) + 1 - begin)});
        }
    }
    return all;
}

} // namespace

TEST(Documents, QuoteFilesAsTheyAre) {
    EXPECT_FALSE(quotations().empty());
    for (const Quotation& quotation : quotations()) {
        ASSERT_TRUE(files().contains(quotation.file)) << quotation.document;
        EXPECT_EQ(quotation.text, files().at(quotation.file)) << quotation.document;
    }
}

TEST(Documents, TheIntegrationGuideNamesEveryOperationAndExport) {
    const std::string& guide = files().at("docs/integration.md");
    static const std::regex name(
        "\\n *(?:class|struct|enum) (\\w+)|\\n *virtual [^;(~]*?(\\w+)\\(|\\nusing (\\w+)Function =");
    std::size_t count = 0;
    for (const auto& [path, text] : files()) {
        if (!path.starts_with("rcvr/framework/")) {
            continue;
        }
        for (auto match = std::sregex_iterator(text.begin(), text.end(), name); match != std::sregex_iterator();
             ++match) {
            const bool isExport = (*match)[3].matched;
            const std::string wanted = isExport ? (*match)[3] : (*match)[1].matched ? (*match)[1] : (*match)[2];
            if (wanted == "Type" || wanted == "Code" || wanted == "SaveFormat" || wanted == "TargetState" ||
                wanted == "TextSelector" || wanted == "Severity_Type" || wanted == "Copy") {
                continue; // documented by their values, and one that is no caller's business
            }
            EXPECT_TRUE(guide.find(wanted) != std::string::npos) << wanted << " of " << path;
            ++count;
        }
    }
    EXPECT_GT(count, 90U);
}

TEST(Documents, TheBenchPagesScenarioIsOne) {
    const bench::Scenario scenario =
        bench::parseScenario(exampleOf(files().at("docs/bench.md"), "scenario"), "docs/bench.md");
    EXPECT_EQ(scenario.name, "long-cable");
    EXPECT_EQ(scenario.wiring.pin(3).skew, 2.5);
    EXPECT_EQ(scenario.expect.at("outcome"), "done");
}

// Each key that a scenario can have is explained, by being known to the reader of the table's keys.
TEST(Documents, TheBenchPageExplainsEveryKeyOfAScenario) {
    const std::string& page = files().at("docs/bench.md");
    static const std::regex key(
        "\\b(?:text|texts|flag|number|numbers|integer|choice|section|sections|freeTable)\\(\"(\\w+)\"");
    const std::string& source = files().at("bench/scenarios/Scenario.cpp");
    std::size_t count = 0;
    for (auto match = std::sregex_iterator(source.begin(), source.end(), key); match != std::sregex_iterator();
         ++match) {
        EXPECT_TRUE(page.find((*match)[1].str()) != std::string::npos) << (*match)[1];
        ++count;
    }
    EXPECT_GT(count, 25U);
}

/// The rows of the table that has this head, without the row below it.
std::vector<std::string> tableBelow(const std::string& page, const std::string& head) {
    std::vector<std::string> rows;
    std::istringstream in(page.substr(std::min(page.find(head), page.size())));
    for (std::string line; std::getline(in, line) && line.starts_with("|");) {
        rows.push_back(line);
    }
    rows.erase(rows.begin(), rows.begin() + std::min<std::ptrdiff_t>(2, std::ssize(rows)));
    return rows;
}

// Text, kind and severity of every finding, row by row. The evidence is the page's own.
TEST(Documents, TheReportPagesFindingsAreTheDoctorsTable) {
    const std::vector<std::string> rows =
        tableBelow(files().at("docs/report.md"), "| finding | kind in JSON | severity | evidence |");
    ASSERT_EQ(rows.size(), diagnosis::findingTable().size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const diagnosis::FindingRow& row = diagnosis::findingTable()[i];
        const std::string start =
            std::string("| `") + row.text + "` | `" + row.slug + "` | " + diagnosis::severityText(row.severity) + " | ";
        EXPECT_TRUE(rows[i].starts_with(start) && rows[i].size() > start.size() + 2) << rows[i] << "\n" << start;
    }
}

} // namespace tree
