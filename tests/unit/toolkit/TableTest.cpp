#include "toolkit/Table.h"

#include <gtest/gtest.h>

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
    EXPECT_EQ(wrapped("aaaa abcdefghij b", 6, 2), "aaaa\n  abcdefghij b");
}

} // namespace
} // namespace toolkit
