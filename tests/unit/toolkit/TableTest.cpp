#include "toolkit/Table.h"

#include <gtest/gtest.h>

#include <sstream>

namespace toolkit {
namespace {

TEST(Table, ColumnsAreAsWideAsTheirWidestCell) {
    Table table({"pin", ">delay", "remark"});
    table.addRow({"Clock", "7", "none"});
    table.addRow({"Data 10", "-12345678", ""});
    EXPECT_EQ(table.text(), "pin          delay  remark\n"
                            "Clock            7  none\n"
                            "Data 10  -12345678\n");
}

TEST(Table, WithoutTitlesThereIsNoHeadLine) {
    Table table(2, "  ");
    table.addRow({"log", "a.txt"});
    table.addRow({"settings", "b.xml"});
    EXPECT_EQ(table.text(), "  log       a.txt\n  settings  b.xml\n");
}

TEST(Table, LettersCountOnceWhateverTheirBytes) {
    Table table(2);
    table.addRow({"Gr\u00f6\u00dfe", "1"});
    table.addRow({"Masse", "2"});
    EXPECT_EQ(table.text(), "Gr\u00f6\u00dfe  1\nMasse  2\n");
}

TEST(Table, NamesOfOthersCannotBreakALine) {
    Table table(2);
    table.addRow({"a\nb", "\x1b[31m"});
    EXPECT_EQ(table.text(), "a?b  ?[31m\n");
}

TEST(Table, TheLastColumnContinuesBelowItselfOnANarrowTerminal) {
    Table table(2);
    table.addRow({"kind", "granted: clock 0, data 1 of connector, owned by debug"});
    EXPECT_EQ(table.text(32), "kind  granted: clock 0, data 1\n"
                              "      of connector, owned by\n"
                              "      debug\n");
}

TEST(Table, AColumnThatIsTooNarrowToWrapStaysWhole) {
    Table table(2);
    table.addRow({"kind", "granted: clock 0, data 1 of connector"});
    EXPECT_EQ(table.text(20), "kind  granted: clock 0, data 1 of connector\n");
}

TEST(Wrapped, AWordThatIsTooLongStaysWhole) {
    EXPECT_EQ(wrapped("aaaa abcdefghij b", 6, 2), "aaaa\n  abcdefghij\n  b");
    EXPECT_EQ(wrapped("  abcdefghij b", 6, 4), "  abcdefghij\n    b");
}

TEST(Table, ColumnsThatDoNotFitFollowBelowWithTheFirstOne) {
    Table table({"pin", ">delay", ">stretch", ">correlation"});
    table.addRow({"CLK", "29", "0", "-"});
    table.addRow({"D0", "3", "2", "1.000"});
    EXPECT_EQ(table.text(24), "pin  delay  stretch\n"
                              "CLK     29        0\n"
                              "D0       3        2\n"
                              "\n"
                              "pin  correlation\n"
                              "CLK            -\n"
                              "D0         1.000\n");
    EXPECT_EQ(table.text(33), table.text()) << "it fits to the letter";
}

TEST(Table, NoLineExceedsAnyUsualTerminal) {
    Table table(
        {"pin", ">EMU", ">setup / hold", ">in ns", ">limit", ">delay", ">stretch", ">filter / plateau", "remark"});
    table.addRow(
        {"TRACEDATA3", "4", "6.2 / 5.4", "4.4 / 3.9", "1.9", "3", "2", "7 / 7", "a remark of several words, as usual"});
    for (std::size_t width = 60; width <= 200; ++width) {
        std::istringstream lines(table.text(width));
        for (std::string line; std::getline(lines, line);) {
            EXPECT_LE(line.size(), width) << line;
        }
    }
}

} // namespace
} // namespace toolkit
