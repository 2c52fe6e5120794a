#include "bench/scenarios/Scenario.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/tree/Examples.h"
#include "tests/tree/SourceTree.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>

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
                continue; // told by their values, and one that is no caller's business
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

TEST(Documents, TheReportPageNamesEveryKindOfFinding) {
    const std::string& page = files().at("docs/report.md");
    static const std::regex kind("(?:findingFor\\(\\w+(?:\\.\\w+)?, |kind = |[?:] )\"([a-z]+(?:-[a-z]+)+)\"");
    std::size_t count = 0;
    for (const auto& [path, text] : files()) {
        if (!path.starts_with("diagnosis/doctor/")) {
            continue;
        }
        for (auto match = std::sregex_iterator(text.begin(), text.end(), kind); match != std::sregex_iterator();
             ++match) {
            EXPECT_NE(page.find("`" + (*match)[1].str() + "`"), std::string::npos) << (*match)[1] << " of " << path;
            ++count;
        }
    }
    EXPECT_GT(count, 15U);
}

} // namespace tree
