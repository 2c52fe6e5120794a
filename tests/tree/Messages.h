#pragma once

#include "tests/tree/SourceTree.h"

#include <string>
#include <string_view>
#include <vector>

// The messages that a person meets, in the code and in the document that explains them. A person meets what is thrown,
// printed, logged as an error or a warning, or found by the doctor. Steps in the log, evidence and advice of the doctor,
// results and the report page explain themselves.
//
// Each literal of a source is read as the compiler does, adjacent ones joined, and cut into pieces at the values that are
// filled in: conversions of a format, and markup. A piece is a message
//  - if it has words and is in a throw, in a call that reports a failure, in an output to the standard error, or in the
//    text of a finding. Constants of the same source count as their texts;
//  - in areas of Scope::sentences also wherever it is a sentence, that is two words or more, because tables and helper
//    functions hold messages too. Help of orvtrace, assertions and steps of the log are excluded.
// Each message has to be a piece of a row of the document, cut at its <values> in the same way. NoMessages.cpp lists the
// exceptions with their reasons; an exception that nothing needs is a breach. So a new text fails the test until it has
// its row, except a single word that no known call reports.

namespace tree {

/// The pieces of a literal or of a row, in order, trimmed; empty ones are left out.
std::vector<std::string> piecesOf(const std::string& text, bool isFormat);

struct Literal {
    std::size_t line = 0;
    std::string text; ///< escapes resolved, adjacent literals joined
};

/// All string literals of a source, in order, without those of includes and comments.
std::vector<Literal> literalsOf(const std::string& source);

/// The literals that are thrown, reported, printed as errors, or the text of a finding.
std::vector<Literal> reportedTexts(const std::string& source);

/// All literals outside help, assertions and steps of the log.
std::vector<Literal> sentencesOf(const std::string& source);

struct Message {
    std::size_t line = 0;
    std::string text;
};

/// Cells of the document's tables that hold only code spans; several are separated by "<br>".
std::vector<Message> messagesOf(const std::string& document);

/// Messages of the document that no source spells.
Breaches messagesThatNothingSays(const Files& files, const std::string& document);

enum class Scope {
    sentences, ///< all sentences are messages
    reported,  ///< only reported texts are; the reason says what the others are
    none,      ///< no product, no messages
};
/// A folder, ending in '/', or a file. The longest match counts.
struct Area {
    std::string_view path;
    Scope scope;
    std::string_view reason;
};
const std::vector<Area>& messageAreas();

/// Areas that no source is in, and sources in no area.
Breaches areasThatDoNotFit(const Files& files, const std::vector<Area>& areas);

/// Pieces that are no messages, for one reason.
struct Exceptions {
    std::string_view reason;
    std::vector<std::string_view> pieces;
};
const std::vector<Exceptions>& piecesThatAreNoMessages();

/// Pieces of messages that the document does not explain, and exceptions that nothing needs.
Breaches messagesThatNothingExplains(const Files& files, const std::string& document,
                                     const std::vector<Exceptions>& exceptions = {},
                                     const std::vector<Area>& areas = messageAreas());

/// Rows that a reader would not find: tables with the head "message" that are not in alphabetical order, and messages
/// that begin two rows.
Breaches rowsOutOfOrder(const Files& files, const std::string& document);

/// Headings of the second and third level that the first table of the document does not link to.
Breaches headingsOutsideTheIndex(const Files& files, const std::string& document);

} // namespace tree
