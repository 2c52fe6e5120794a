#include "tests/tree/ExpectNone.h"
#include "tests/tree/Words.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

// The rule on files made up here, then on this tree.

namespace tree {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

TEST(WordRules, HardWordsInDocumentsAreFoundWithTheirLines) {
    const Files files{{"docs/a.md", "# A\n\nThe edge behind it, ahead\nof the clock: Whoever reads.\n"}};
    EXPECT_THAT(hardWordsInDocuments(files), ElementsAre("docs/a.md:3: \"behind\": after, past, following, below",
                                                         "docs/a.md:3: \"ahead of\": before, above, preceding",
                                                         "docs/a.md:4: \"Whoever\": the caller, the host, the user"));
}

TEST(WordRules, EachHardWordIsFound) {
    for (const char* word : {"behind", "ahead of", "in front of", "the proof", "proofs", "whoever", "nobody knows",
                             "a wish", "wishes", "stands for", "stand for", "unless told otherwise", "let be"}) {
        EXPECT_THAT(hardWordsInDocuments({{"a.md", "x " + std::string(word) + " y\n"}}), SizeIs(1)) << word;
    }
    EXPECT_THAT(hardWordsInDocuments({{"a.md", "waterproof, ahead, let it be, proven, in the front\n"}}), IsEmpty());
}

TEST(WordRules, CodeOfDocumentsIsNotRead) {
    const Files files{{"a.md", "`the proof` and\n\n    $ behind\n\n    more behind\n\n```cpp\n// behind\n```\n"
                               "- an item\n    goes on behind\n"}};
    EXPECT_THAT(hardWordsInDocuments(files), SizeIs(1));
    EXPECT_THAT(hardWordsInDocuments({{"a.txt", "behind\n"}, {"b.md.in", "behind\n"}}), SizeIs(1));
}

TEST(WordRules, HardWordsInCommentsAreFoundButNotInLiteralsAndNames) {
    const Files files{{"a.cpp", "// one behind\nint behind = f(\"nobody came\");\n/* two\n   ahead\n of */\n"
                                "/// in front\n/// of it\n"}};
    EXPECT_THAT(hardWordsInComments(files), ElementsAre("a.cpp:1: \"behind\": after, past, following, below",
                                                        "a.cpp:4: \"ahead of\": before, above, preceding",
                                                        "a.cpp:6: \"in front of\": before, above, preceding"));
}

TEST(Words, OfDocumentsAreEasy) {
    expectNone(hardWordsInDocuments(sourcesOfThisTree()));
}

TEST(Words, OfCommentsAreEasy) {
    expectNone(hardWordsInComments(sourcesOfThisTree()));
}

} // namespace tree
