#include "host/commands/ManualPages.h"

#include <gmock/gmock.h>

namespace host {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::vector<ManualPage> pages() {
    const CommandFacts list{"list", "Print the sections", "", {{"FILE.tdf", "", "FILE.tdf", "The file", {}, true}}, {},
                            {}};
    const CommandFacts tdf{"tdf", "List files", "Example: orvtrace tdf list a.tdf", {}, {}, {list}};
    const CommandFacts burst{"burst",
                             "Write a burst",
                             "Times come from the head.\nExample: orvtrace burst a --from 4",
                             {},
                             {{"--mode", "-m", "KIND", "Kind of \\ export", {"pti", "tpiu"}}},
                             {}};
    return manualPagesOf({"orvtrace", "Records trace.", "Exit codes:\n   0  done", {}, {}, {tdf, burst}},
                         {"1.2.3", "2026-11-22"});
}

TEST(ManualPages, ThereIsOneForTheProgramAndForEachSubcommand) {
    const auto all = pages();
    ASSERT_EQ(all.size(), 3U);
    EXPECT_EQ(all[0].file, "orvtrace.1");
    EXPECT_EQ(all[1].file, "orvtrace-tdf.1");
    EXPECT_EQ(all[2].file, "orvtrace-burst.1");
    EXPECT_THAT(all[2].text, StartsWith(".TH ORVTRACE\\-BURST 1 2026-11-22 \"orvtrace 1.2.3\" \"User Commands\"\n"
                                        ".SH NAME\norvtrace\\-burst \\- write a burst\n"));
    EXPECT_THAT(all[0].text, HasSubstr(".BR orvtrace\\-tdf (1),\n.BR orvtrace\\-burst (1)\n"));
}

TEST(ManualPages, OptionsHaveNamesValueTextAndChoices) {
    EXPECT_THAT(pages()[2].text, HasSubstr(".TP\n\\fB\\-m\\fR, \\fB\\-\\-mode\\fR \\fIKIND\\fR\nKind of \\e export.\n"
                                           "One of pti, tpiu.\n"));
}

TEST(ManualPages, ExamplesAreApartFromTheText) {
    EXPECT_THAT(pages()[2].text, HasSubstr(".PP\nTimes come from the head.\n"));
    EXPECT_THAT(pages()[2].text, HasSubstr(".nf\n.RS 4\norvtrace burst a \\-\\-from 4\n.RE\n.fi\n"));
    EXPECT_THAT(pages()[2].text, Not(HasSubstr("Example:")));
}

TEST(ManualPages, NestedSubcommandsAreOnThePageOfTheirs) {
    EXPECT_THAT(pages()[1].text, HasSubstr(".SS list\n.B orvtrace tdf list\n\\fIFILE.tdf\\fR\n"));
    EXPECT_THAT(pages()[1].text, HasSubstr(".TP\n\\fIFILE.tdf\\fR\nThe file.\n"));
}

TEST(ManualPages, TheProgramsPageHasTheExitCodes) {
    EXPECT_THAT(pages()[0].text, HasSubstr(".TP\n\\fB10\\fR\ndone, faults were found.\n"));
    EXPECT_THAT(pages()[0].text, Not(HasSubstr("Exit codes:")));
}

} // namespace
} // namespace host
