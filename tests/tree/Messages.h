#pragma once

#include <string>
#include <vector>

#include "tests/tree/SourceTree.h"

// The texts that a person can meet, as the code spells them and as the document explains them.
//
// A text is compared piece by piece: what stands between two values that are filled in. In the code values are the gaps
// between literals and the conversions of a format; in the document they are written <so>.

namespace tree {

/// The pieces of one literal or of one message, in order, without blanks at their ends; empty ones are left out.
std::vector<std::string> piecesOf(const std::string& text, bool isFormat);

struct Literal {
    std::size_t line = 0;
    std::string text; ///< escapes resolved, neighbours joined
};

/// All string literals of a source, in order; those of includes and comments are none.
std::vector<Literal> literalsOf(const std::string& source);

/// The literals that leave a source as messages: in throws, in calls of the helpers that report a failure, on the
/// standard error output. Constants of the same source that are named there count as their texts.
std::vector<Literal> thrownTexts(const std::string& source);

struct Message {
    std::size_t line = 0;
    std::string text;
};

/// First cells of a document's tables that are one code span; the first row of a table is its head.
std::vector<Message> messagesOf(const std::string& document);

/// Messages of the document that no source spells.
Breaches messagesThatNothingSays(const Files& files, const std::string& document);

/// Pieces of messages in the sources that the document does not explain. A piece of `exceptions` is left out, and an
/// exception that excepts nothing is a breach, too.
struct Exception {
    std::string piece;
    std::string reason;
};
Breaches messagesThatNothingExplains(const Files& files, const std::string& document,
                                     const std::vector<Exception>& exceptions);

} // namespace tree
