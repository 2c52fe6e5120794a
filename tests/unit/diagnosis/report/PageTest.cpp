#include "diagnosis/burst/Markup.h"
#include "diagnosis/report/Pictures.h"
#include "diagnosis/report/Report.h"
#include "tests/unit/diagnosis/doctor/BenchFiles.h"
#include "tests/unit/diagnosis/files/DrawnFiles.h"
#include "toolkit/ExitCode.h"

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <random>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using toolkit::Failure;

std::size_t count(const std::string& text, const std::string& what) {
    std::size_t found = 0;
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) {
        ++found;
    }
    return found;
}

std::string pageOf(const diagnosis::DiagnosticSet& set) {
    return diagnosis::reportPage(set, diagnosis::diagnose(set));
}

TEST(Html, MarkupControlCharactersAndBrokenUtf8AreTakenOut) {
    using diagnosis::page::escaped;
    EXPECT_EQ(escaped("a<b>&\"c\""), "a&lt;b&gt;&amp;&quot;c&quot;");
    EXPECT_EQ(escaped(std::string("\x01\x7f") + "x"), "??x");
    EXPECT_EQ(escaped("gr\xc3\xbc\xc3\x9f"), "gr\xc3\xbc\xc3\x9f");
    EXPECT_EQ(escaped("\xc3("), "?(");
    EXPECT_EQ(escaped("\xff\xe2\x82"), "???");
    EXPECT_EQ(escaped("\xc2\x9b"
                      "31m\n"),
              "?31m?");
}

TEST(DelayWindow, EndsBeyondTheRangeAreMarked) {
    using diagnosis::page::delayPicture;
    EXPECT_EQ(count(delayPicture({-3, 9, 2}, "x"), "class=\"cut\""), 1U);
    EXPECT_EQ(count(delayPicture({25, 37, 31}, "x"), "class=\"cut\""), 1U);
    EXPECT_EQ(count(delayPicture({-1, 40, 5}, "x"), "class=\"cut\""), 2U);
    EXPECT_EQ(count(delayPicture({0, 31, 5}, "x"), "class=\"cut"), 0U);
    EXPECT_THAT(delayPicture({-3, 9, 2}, "x"), HasSubstr("it continues beyond the range of 0 to 31"));
}

TEST(DelayWindow, AnEndIsALossOnlyWhenTheBestDelayIsOutOfReach) {
    using diagnosis::page::delayPicture;
    using diagnosis::page::DelayWindow;
    EXPECT_TRUE((DelayWindow{26, 45, 31}.lostAbove())) << "its middle is 35";
    EXPECT_FALSE((DelayWindow{25, 38, 31}.lostAbove())) << "half a sample";
    EXPECT_FALSE((DelayWindow{20, 60, 30}.lostAbove())) << "it could go one further";
    EXPECT_TRUE((DelayWindow{-9, 3, 0, true}.lostBelow()));
    EXPECT_FALSE((DelayWindow{-9, 3, 0, false}.lostBelow())) << "the others can be moved later instead";
    EXPECT_FALSE((DelayWindow{-6, 6, 0, true}.lostBelow())) << "it is in the middle";
    EXPECT_EQ(count(delayPicture({26, 45, 31}, "x"), "class=\"cut lost\""), 1U);
    EXPECT_THAT(delayPicture({26, 45, 31}, "x"), HasSubstr("where the best delay is"));
}

TEST(Page, AGoodCalibrationHasNoRedArrows) {
    for (const char* name : {"clean", "bench-cable", "two-pin", "tpiu"}) {
        const BenchFiles files(namedScenario(name));
        auto set = files.read();
        set.attempts.erase(set.attempts.begin(), set.attempts.end() - 1);
        const std::string page = pageOf(set);
        EXPECT_GT(count(page, "class=\"cut\""), 0U) << name;
        EXPECT_EQ(count(page, "class=\"cut lost\""), 0U) << name;
        EXPECT_THAT(page, HasSubstr("the window continues beyond the range, without any loss")) << name;
        EXPECT_THAT(page, Not(HasSubstr("reduces the margins"))) << name;
    }
}

TEST(Page, AClockWhoseDelayEndsIsMarkedAsALoss) {
    const test_support::TemporaryFolder folder;
    std::string text = drawn::report({{14, 1}, {14, 1}}, drawn::head("25.00 MHz", "56.00 "));
    text.replace(text.find("delays=1,"), 9, "delays=31,");
    folder.write("run.freq0.cal.txt", text);
    const std::string page = pageOf(diagnosis::readDiagnostics(folder.path));
    EXPECT_GT(count(page, "class=\"cut lost\""), 0U);
    EXPECT_THAT(page, HasSubstr("the middle of the window is beyond the range, which reduces the margins"));
}

TEST(Page, HasEveryPartForEveryAttempt) {
    const BenchFiles files(namedScenario("bench-cable"));
    const auto set = files.read();
    ASSERT_EQ(set.attempts.size(), 3U);
    const std::string page = pageOf(set);
    EXPECT_THAT(page, HasSubstr("Calibration of trace"));
    EXPECT_THAT(page, HasSubstr("calibrated at 50 MHz (setting 2)"));
    EXPECT_THAT(page, HasSubstr("Nothing is broken"));
    EXPECT_EQ(count(page, "class=\"eye\""), 3U * 4U) << "an eye for each data pin of each attempt";
    EXPECT_EQ(count(page, "class=\"waveform\""), 3U);
    EXPECT_EQ(count(page, "class=\"strip\""), 3U);
    EXPECT_EQ(count(page, "class=\"bar\""), 3U * (4U + 1U + 5U)) << "margins, their sum, delays";
    EXPECT_THAT(page, HasSubstr("clock margin too low."));
    EXPECT_THAT(page, HasSubstr("All 130560 words of the verification are as sent (pattern ramp)."));
    EXPECT_THAT(page, HasSubstr("the window continues beyond the range"));
    EXPECT_THAT(page, HasSubstr("CLK input: enabled, input 4 (EMU0), delay "));
    EXPECT_THAT(page, HasSubstr("<dt>delays</dt>"));
    EXPECT_EQ(count(page, "<svg"), count(page, "</svg>"));
}

TEST(Page, EveryPartHasANameForLinksAndRegistersAreFolded) {
    const BenchFiles files(namedScenario("bench-cable"));
    const std::string page = pageOf(files.read());
    for (const char* id :
         {"summary", "findings", "attempts", "setting-2", "setting-2-lanes", "setting-2-eyes", "setting-2-waveforms",
          "setting-2-verification", "setting-4-lanes", "registers", "files", "origin"}) {
        EXPECT_EQ(count(page, std::string("id=\"") + id + "\""), 1U) << id;
    }
    EXPECT_EQ(count(page, "<section"), count(page, "<section id=\""));
    EXPECT_EQ(count(page, "<section"), count(page, "</section>"));
    EXPECT_THAT(page, HasSubstr("<details><summary>51 registers</summary>"));
}

TEST(Page, TheFooterHasTheVerdictAndTheOrigin) {
    const BenchFiles files(namedScenario("clean"));
    const auto set = files.read();
    const std::string page =
        diagnosis::reportPage(set, diagnosis::diagnose(set), {"orvtrace 9.8", "2031-02-03 04:05 UTC"});
    const std::string footer = page.substr(page.find("<footer"));
    EXPECT_THAT(footer, AllOf(HasSubstr("Verdict: sound, 50 MHz"),
                              HasSubstr("Made by orvtrace 9.8, 2031-02-03 04:05 UTC, "), HasSubstr("Capture unit ")));
}

TEST(Page, EyesHaveScalesInNanosecondsAndUnitIntervalsAndACount) {
    const BenchFiles files(namedScenario("clean"));
    const std::string page = pageOf(files.read());
    const std::string eye = page.substr(page.find("class=\"eye\""), 60000);
    EXPECT_THAT(eye, AllOf(HasSubstr(">0 ns</text>"), HasSubstr(">0 UI</text>"), HasSubstr(">-0.5</text>"),
                           HasSubstr(">max ")));
}

TEST(Page, NamesOfTheBoardKeepTheirLettersAndAreText) {
    const BenchFiles files(namedScenario("swapped-pins"));
    auto set = files.read();
    set.names = toolkit::LaneNames::parse("clk<1>,td3,td2,td1,td0");
    const std::string page = pageOf(set);
    EXPECT_THAT(page, AllOf(HasSubstr("td1 (D1, EMU2) and td0 (D0, EMU1) are swapped"), HasSubstr("clk&lt;1&gt;"),
                            Not(HasSubstr("Td1")), Not(HasSubstr("clk<1>"))));
}

TEST(Page, ALaneBelowItsLimitIsHatchedAndMarked) {
    const BenchFiles files(namedScenario("coupling"));
    const std::string page = pageOf(files.read());
    EXPECT_GT(count(page, "class=\"hatch\""), 0U);
    EXPECT_GT(count(page, "<span class=\"thin\">"), 0U);
    const BenchFiles sound(namedScenario("clean"));
    EXPECT_EQ(count(pageOf(sound.read()), "<span class=\"thin\">"), 0U);
}

TEST(Page, ColoursOfThePicturesArePrintedToo) {
    EXPECT_THAT(pageOf({}), HasSubstr("html{-webkit-print-color-adjust:exact;print-color-adjust:exact}"));
}

TEST(Page, HeadingsStayWithTheirPicturesWhenItIsPrinted) {
    const BenchFiles files(namedScenario("clean"));
    const std::string page = pageOf(files.read());
    EXPECT_THAT(page, AllOf(HasSubstr("<div class=\"keep\"><h3>Waveforms</h3>"),
                            HasSubstr("<div class=\"keep\"><h3>Eyes</h3>"), HasSubstr(".keep{break-inside:avoid}"),
                            HasSubstr("\n@media print{main{")));
}

TEST(Page, NeedsNothingFromElsewhereAndRunsNothing) {
    const BenchFiles files(namedScenario("step-down"));
    const std::string page = pageOf(files.read());
    for (const char* foreign : {"<script", "http:", "https:", "src=", "@import", "url(", "onload", "<iframe"}) {
        EXPECT_THAT(page, Not(HasSubstr(foreign)));
    }
    EXPECT_EQ(page, pageOf(files.read())) << "the same for the same files";
    EXPECT_LT(page.size(), 400000U);
}

TEST(Page, ConclusionNamesTheFaultItsEvidenceAndWhatToCheck) {
    const BenchFiles files(namedScenario("swapped-pins"));
    const std::string page = pageOf(files.read());
    EXPECT_THAT(page, HasSubstr("D1 (EMU2) and D0 (EMU1) are swapped"));
    EXPECT_THAT(page, HasSubstr("D1 carries the bits of D0"));
    EXPECT_THAT(page, HasSubstr("Cross the wires back"));
    EXPECT_THAT(page, Not(HasSubstr("Nothing is broken")));
}

TEST(Page, APlaceWhereAMarginFailedIsShown) {
    const BenchFiles files(namedScenario("clean"), "ovsMargin=2\n", [](bench_client::BenchRig& rig) {
        rig.transmitter.program("calibration", 1);
        rig.inside().captureOvs();
        EXPECT_ANY_THROW(rig.inside().verifyOvsMargin(rig.inside().cal(), 2));
    });
    auto set = files.read();
    set.properties = diagnosis::parseProperties("[Channel 0]\novsMargin=2\n", "x");
    const std::string page = pageOf(set);
    EXPECT_THAT(page, HasSubstr("A margin that failed during a recording"));
    EXPECT_THAT(page, HasSubstr("which the receiver calls index "));
    EXPECT_THAT(page, HasSubstr("clock margin failure at "));
}

TEST(Page, FilesWithNothingMeasuredGiveAPageToo) {
    for (const char* name : {"no-clock", "too-fast"}) {
        const BenchFiles files(namedScenario(name));
        const std::string page = pageOf(files.read());
        EXPECT_THAT(page, AllOf(HasSubstr("No setting was tried, so that no burst shows the pins"),
                                HasSubstr("Registers of the unit")))
            << name;
    }
}

TEST(Page, WhatWasNotJudgedIsNotCalledSound) {
    const BenchFiles given(namedScenario("tpiulite"));
    const std::string page = pageOf(given.read());
    EXPECT_THAT(page, AllOf(HasSubstr(">unknown</span>"), HasSubstr("finding plain"), HasSubstr("No burst was taken")));
    EXPECT_THAT(page, AllOf(Not(HasSubstr("Nothing is broken")), Not(HasSubstr("badge good")),
                            Not(HasSubstr("No setting was tried"))));

    const BenchFiles few(namedScenario("clean"));
    auto set = few.read();
    for (auto& attempt : set.attempts) {
        attempt.burst.reset();
        attempt.verification.reset();
    }
    EXPECT_THAT(pageOf(set),
                AllOf(HasSubstr("Too little to judge by"),
                      HasSubstr("2 kinds of files are missing: burst (.cap.txt) and verification (.ver)")));
}

TEST(Page, GivenValuesAreShownWithTheirBurst) {
    const BenchFiles files(namedScenario("clean"));
    auto set = files.read();
    set.properties = diagnosis::parseProperties("[Channel 0]\ncalMode=manual\n", "x");
    EXPECT_THAT(pageOf(set), AllOf(HasSubstr("These are the given values; the margins are those of a burst with them."),
                                   HasSubstr("-eyes\""), Not(HasSubstr("No burst was taken"))));
    for (auto* group : {&set.base, &set.attempts.back()}) {
        if (group->burst) {
            group->burst->pins.front().levels.assign(group->burst->pins.front().levels.size(), 0);
        }
    }
    EXPECT_THAT(pageOf(set),
                AllOf(HasSubstr("Nothing was measured: these are the given values."), HasSubstr("No burst was taken")));
}

TEST(Page, WhatWasNotMeasuredShowsNoFigures) {
    const BenchFiles files(namedScenario("slow"));
    const std::string page = pageOf(files.read());
    EXPECT_THAT(page, AllOf(HasSubstr("Below 10.1 MHz the receiver measures nothing on the pins"),
                            Not(HasSubstr("class=\"bar\"")), Not(HasSubstr("0.000"))))
        << "no bar where there is no margin";
}

TEST(Page, TheMarginsAreTheEyesAndTheReceiversSumIsNamedAsItsRule) {
    const test_support::TemporaryFolder folder;
    const std::string data = drawn::square(8192, 14, 10);
    folder.write("run.freq0.cap.txt", drawn::burst({drawn::square(8192, 14, 3), data}));
    folder.write("run.freq0.cal.txt", drawn::report({{8, 7}}));
    const std::string page = pageOf(diagnosis::readDiagnostics(folder.path));
    EXPECT_THAT(page, HasSubstr("open for 14 samples"));
    EXPECT_THAT(page, HasSubstr("</svg>7 / 7</td>")) << "the sum";
    EXPECT_THAT(page, HasSubstr("14 samples stable; the receiver's rule counts 15 of at least 9"));
    EXPECT_THAT(page, Not(HasSubstr(">7 / 8</td>")));
}

TEST(Page, WithoutABurstTheEdgesOwnSampleIsNoMarginEither) {
    const test_support::TemporaryFolder folder;
    folder.write("run.freq0.cal.txt", drawn::report({{8, 7}}));
    EXPECT_THAT(pageOf(diagnosis::readDiagnostics(folder.path)),
                HasSubstr("14 samples stable; the receiver's rule counts 15 of at least 9"));
}

TEST(Page, FiguresOfAnEarlierAttemptAreNotShown) {
    const test_support::TemporaryFolder folder;
    std::string burst = drawn::burst({drawn::square(8192, 14, 3), std::string(8192, '0')});
    burst.replace(burst.find("delay=1"), 7, "delay=0");
    folder.write("run.freq0.cap.txt", burst);
    folder.write("run.freq0.cal.txt", drawn::report({{8, 7}}));
    const std::string page = pageOf(diagnosis::readDiagnostics(folder.path));
    EXPECT_THAT(page, AllOf(HasSubstr("unable to detect sampling position"),
                            HasSubstr("Those in its report are from an earlier attempt"), Not(HasSubstr("0.900"))));
    EXPECT_THAT(page, Not(HasSubstr("samples stable")));
}

TEST(Page, BelowTheSlowestAnalysedClockTheDelaysAreTheUnits) {
    const BenchFiles files(namedScenario("slow"));
    const std::string page = pageOf(files.read());
    EXPECT_THAT(page, AllOf(HasSubstr("including a clock delay of 31, is not written to the unit"),
                            HasSubstr("Calibration report, not written to the unit")));
    EXPECT_THAT(page, Not(HasSubstr("<td class=\"n\">31</td>")));
    EXPECT_THAT(page, HasSubstr("CLK input: enabled, input 4 (EMU0), delay 0"));
}

TEST(Page, TheVerificationsTableSaysWhatFits) {
    const BenchFiles files(namedScenario("swapped-pins"));
    EXPECT_THAT(pageOf(files.read()), AllOf(HasSubstr("fits its own bits"), HasSubstr("fits best"),
                                            HasSubstr("that is, the bits of"), HasSubstr("shifted by")));
}

TEST(Page, WhatStandsInTheFilesIsTextAndNeverMarkup) {
    const test_support::TemporaryFolder folder;
    std::string text = drawn::report({{6, 5}});
    text.replace(text.find("drmXmtr=pti"), 11, "drmXmtr=<i>&\xff");
    folder.write("a&b.freq0.cal.txt", text);
    folder.write("a&b.freq0.cap.txt", drawn::burst({drawn::square(2000, 14, 3), drawn::square(2000, 14, 9)}));
    folder.write("a&b.cfg", "[Chan<script>]\nx=<script>alert(1)</script>\n");
    folder.write("a&b.cache", "</main>\n");
    const std::string page = pageOf(diagnosis::readDiagnostics(folder.path / "a&b"));
    EXPECT_THAT(page, Not(HasSubstr("<script")));
    EXPECT_THAT(page, Not(HasSubstr("<i>")));
    EXPECT_EQ(count(page, "</main>"), 1U);
    EXPECT_THAT(page, HasSubstr("&lt;script&gt;alert(1)"));
    EXPECT_THAT(page, HasSubstr("Calibration of a&amp;b"));
}

TEST(Page, AnyDamageOfARunsFilesStillGivesAPage) {
    std::mt19937 random(11);
    const std::vector<std::pair<std::string, std::string>> files{
        {"run.freq1.cal.txt", drawn::report({{6, 5}, {2, 3}})},
        {"run.freq1.cap.txt",
         drawn::burst({drawn::square(300, 14, 3), drawn::square(300, 14, 9), drawn::square(300, 14, 12)})},
        {"run.freq1.ver", drawn::packets([](std::size_t i) { return drawn::framedWord({0x1B1B}, i); }, 8)},
        {"run.freq1.reg.txt", "\n0x08000000=0x0000\n0x0800811e=0x841f\n"},
        {"run.err.cap.txt", drawn::burst({drawn::square(300, 14, 3), drawn::square(300, 10, 9)})},
        {"run.cfg", "[Channel 0]\novsMargin=2\n"}};
    unsigned whole = 0;
    for (unsigned round = 0; round < 150; ++round) {
        const test_support::TemporaryFolder folder;
        for (const auto& [name, text] : files) {
            std::string damaged = text;
            // A digit for a digit keeps most files readable, with unexpected figures.
            for (unsigned change = 0; change < 1 + random() % 3; ++change) {
                const std::size_t at =
                    damaged.find_first_of("0123456789", random() % std::min<std::size_t>(damaged.size(), 400));
                if (at != std::string::npos) {
                    damaged[at] = "0123456789"[random() % 10];
                }
            }
            if (random() % 8 == 0) {
                damaged.resize(random() % damaged.size());
            }
            folder.write(name, damaged);
        }
        const auto set = diagnosis::readDiagnostics(folder.path);
        whole += set.troubles.empty();
        const std::string page = pageOf(set);
        EXPECT_TRUE(page.ends_with("</html>\n"));
        EXPECT_EQ(count(page, "<svg"), count(page, "</svg>"));
        EXPECT_THAT(page, Not(HasSubstr("nan")));
    }
    EXPECT_GT(whole, 0U);
}

TEST(WriteReport, PutsThePageBesideTheFilesOrIntoTheFolderThatWasGiven) {
    const test_support::TemporaryFolder folder;
    std::filesystem::create_directories(folder.path / "deep");
    folder.write("deep/run.freq0.cal.txt", drawn::report({{6, 5}}));
    EXPECT_EQ(diagnosis::writeReport(folder.path, {}).file, folder.path / "run.report.html");
    EXPECT_EQ(diagnosis::writeReport(folder.path / "deep" / "run", {}).file, folder.path / "deep" / "run.report.html");
    EXPECT_NO_THROW(diagnosis::writeReport(folder.path, {})) << "an earlier page is renewed";
    folder.write("run.report.html", "<html>somebody's own</html>");
    try {
        diagnosis::writeReport(folder.path, {});
        FAIL();
    } catch (const toolkit::Failure& failure) {
        EXPECT_EQ(failure.code, toolkit::ExitCode::OutputExists);
    }
    EXPECT_NO_THROW(diagnosis::writeReport(folder.path, {}, {true}));
    try {
        diagnosis::writeReport(folder.path, folder.path / "deep", {true});
        FAIL();
    } catch (const toolkit::Failure& failure) {
        EXPECT_EQ(failure.code, toolkit::ExitCode::OutputUnwritable);
    }
}

TEST(WriteReport, DamagedFilesAreNamedInThePage) {
    const test_support::TemporaryFolder folder;
    folder.write("run.freq0.cal.txt", drawn::report({{6, 5}}));
    folder.write("run.freq0.cap.txt", "nonsense\n");
    const diagnosis::ReportResult result = diagnosis::writeReport(folder.path, {});
    EXPECT_EQ(result.set.troubles.size(), 1U);
    std::ifstream in(result.file);
    const std::string page{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    EXPECT_THAT(page, HasSubstr("left out"));
    EXPECT_THAT(page, HasSubstr("run.freq0.cap.txt:1: expected exportFrequency=NUMBER Hz"));
}

} // namespace
