#pragma once

#include "tests/tree/SourceTree.h"

#include <string>
#include <vector>

// The texts that a person can meet, as the code spells them and as the document explains them.
//
// How they are found. In every source of the product each literal is read as the compiler does, neighbours joined, and
// cut into pieces at the values that are filled in: conversions of a format, and markup. Two rules make a piece a
// message:
//  - it is a sentence, that is two words or more, wherever the literal stands. Only the help of orvtrace, which explains
//    itself, and assertions are passed over;
//  - it holds words at all and stands in a throw, in a call that reports a failure or writes the log, or goes to the
//    standard error output. Constants of the same source that are named there count as their texts.
// Each such piece has to be a piece of a message of the document, cut at its <values> in the same way. What is no
// message although the rules say so is listed in NoMessages.cpp, each with its reason; an entry that nothing needs any
// more is a breach, too. So a new text anywhere fails the test until it has its row, one word in a place that is not
// known to report excepted.

namespace tree {

/// The pieces of one literal or of one message, in order, without blanks at their ends; empty ones are left out.
std::vector<std::string> piecesOf(const std::string& text, bool isFormat);

struct Literal {
    std::size_t line = 0;
    std::string text; ///< escapes resolved, neighbours joined
};

/// All string literals of a source, in order; those of includes and comments are none.
std::vector<Literal> literalsOf(const std::string& source);

/// The literals of the second rule.
std::vector<Literal> reportedTexts(const std::string& source);

/// The literals that the first rule looks at: all but those of help and of assertions.
std::vector<Literal> sentencesOf(const std::string& source);

struct Message {
    std::size_t line = 0;
    std::string text;
};

/// Cells of a document's tables that are code spans and nothing else; several are parted by "<br>".
std::vector<Message> messagesOf(const std::string& document);

/// Messages of the document that no source spells.
Breaches messagesThatNothingSays(const Files& files, const std::string& document);

/// A piece that is no message.
struct Exception {
    std::string piece;
    std::string reason;
};
/// A source whose sentences are no messages; the second rule holds there, too.
struct FileException {
    std::string path;
    std::string reason;
};
const std::vector<Exception>& piecesThatAreNoMessages();
const std::vector<FileException>& filesWithoutMessages();

/// Pieces of messages in the sources that the document does not explain, and exceptions that except nothing.
Breaches messagesThatNothingExplains(const Files& files, const std::string& document,
                                     const std::vector<Exception>& pieces = {},
                                     const std::vector<FileException>& sources = {});

/// Rows that a reader would not find: a table with the head "message" that is not in the order of the alphabet, and a
/// message that stands at the beginning of two rows.
Breaches rowsOutOfOrder(const Files& files, const std::string& document);

/// Headings of the second and third level that the first table of the document does not link to.
Breaches headingsOutsideTheIndex(const Files& files, const std::string& document);

} // namespace tree
