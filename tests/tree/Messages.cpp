#include "tests/tree/Messages.h"

#include "tests/tree/SourceReader.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string_view>

namespace tree {

namespace {

std::string trimmed(const std::string& text) {
    const char* blanks = " \t\r\n";
    const std::size_t begin = text.find_first_not_of(blanks);
    return begin == std::string::npos ? "" : text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

constexpr char percent = '\1'; // replaces "%%" while conversions are searched

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
}

bool hasWords(const std::string& piece) {
    return std::count_if(piece.begin(), piece.end(), [](unsigned char c) { return std::isalpha(c) != 0; }) > 3;
}

/// Two words at least, with a blank between them.
bool isSentence(const std::string& piece) {
    static const std::regex words("[A-Za-z]{2}[^ ]* (.* )?[^ A-Za-z]*[A-Za-z]{2}");
    return std::regex_search(piece, words);
}

/// Null for a source in no area.
const Area* areaOf(const std::string& path, const std::vector<Area>& areas) {
    const Area* longest = nullptr;
    for (const Area& area : areas) {
        const bool fits = area.path.ends_with('/') ? path.starts_with(area.path) : path == area.path;
        if (fits && (longest == nullptr || area.path.size() > longest->path.size())) {
            longest = &area;
        }
    }
    return longest;
}

Scope scopeOf(const std::string& path, const std::vector<Area>& areas) {
    const Area* area = isSource(path) ? areaOf(path, areas) : nullptr;
    return area == nullptr ? Scope::none : area->scope;
}

using Tokens = std::vector<Token>;

bool isCode(const Tokens& tokens, std::size_t index, std::string_view wanted) {
    return index < tokens.size() && !tokens[index].isLiteral && tokens[index].text == wanted;
}

bool isCallOf(const std::set<std::string>& names, const Tokens& tokens, std::size_t index) {
    return !tokens[index].isLiteral && names.contains(tokens[index].text) && isCode(tokens, index + 1, "(");
}

/// `finding.text = ` and `finding.text += `.
bool isTextOfAFinding(const Tokens& tokens, std::size_t index) {
    return isCode(tokens, index, "finding") && isCode(tokens, index + 1, ".") && isCode(tokens, index + 2, "text") &&
           (isCode(tokens, index + 3, "=") || isCode(tokens, index + 3, "+"));
}

/// Calls and statements whose texts reach a person.
bool reports(const Tokens& tokens, std::size_t index) {
    static const std::set<std::string> calls{"fail",       "failWith",    "refuse",      "damaged",     "usage",
                                             "logAndFail", "throwError",  "note",        "require",     "signalStop",
                                             "failOpen",   "Failure",     "logError",    "allocate",    "logWarning",
                                             "logErrorAt", "checkResult", "recordError", "logStepError"};
    if (isCallOf(calls, tokens, index) || isTextOfAFinding(tokens, index) || isCode(tokens, index, "throw")) {
        return true;
    }
    return (isCode(tokens, index, "fprintf") && isCode(tokens, index + 1, "(") &&
            isCode(tokens, index + 2, "stderr")) ||
           (isCode(tokens, index, "cerr") && isCode(tokens, index + 1, "<"));
}

/// Texts that need no explanation: help of orvtrace, what a compiler prints, steps in the log.
bool explainsItself(const Tokens& tokens, std::size_t index) {
    static const std::set<std::string> calls{"addArgument",
                                             "addOptionalArgument",
                                             "addOption",
                                             "addRepeatable",
                                             "addFlag",
                                             "addNumber",
                                             "addSeconds",
                                             "addHertz",
                                             "add_option_function",
                                             "addWhole",
                                             "addSubcommand",
                                             "add_flag",
                                             "set_help_flag",
                                             "footer",
                                             "app",
                                             "Command",
                                             "ComparingCommand",
                                             "DiagnosisCommand",
                                             "RunCommand",
                                             "static_assert",
                                             "logMessage",
                                             "logMessageAt",
                                             "logStep",
                                             "logEntry"};
    return isCallOf(calls, tokens, index);
}

/// One past the statement or the call that begins at `index`.
std::size_t endOf(const Tokens& tokens, std::size_t index) {
    const std::string& first = tokens[index].text;
    const bool isStatement = !isCode(tokens, index + 1, "(") || first == "throw";
    int depth = 0;
    for (std::size_t i = index; i < tokens.size(); ++i) {
        if (tokens[i].isLiteral) {
            continue;
        }
        const char c = tokens[i].text[0];
        if (c == '(') {
            ++depth;
        }
        if (c == ')' && --depth <= 0 && !isStatement) {
            return i + 1;
        }
        if (c == ';' && depth <= 0) {
            return i;
        }
    }
    return tokens.size();
}

/// Texts with a name: `const char* name = "..."`, `std::string name = "..."`, `const char name[] = "..."`.
std::map<std::string, std::string> constantsOf(const Tokens& tokens) {
    std::map<std::string, std::string> constants;
    for (std::size_t i = 3; i < tokens.size(); ++i) {
        if (!tokens[i].isLiteral || tokens[i - 1].text != "=") {
            continue;
        }
        const bool isArray = i > 5 && tokens[i - 2].text == "]";
        const std::size_t name = isArray ? i - 4 : i - 2;
        const std::string& type = tokens[name - 1].text;
        if (type == "*" || type == "string" || type == "string_view" || (isArray && type == "char")) {
            constants.try_emplace(tokens[name].text, tokens[i].text);
        }
    }
    return constants;
}

/// The places of `pieces` among those of a source, in order and close together.
bool isSpelled(const std::vector<std::string>& pieces, const std::vector<std::string>& source) {
    constexpr std::size_t window = 12;
    for (auto first = std::find(source.begin(), source.end(), pieces.front()); first != source.end();
         first = std::find(first + 1, source.end(), pieces.front())) {
        const auto last = source.end() - first > static_cast<std::ptrdiff_t>(window) ? first + window : source.end();
        auto place = first + 1;
        const bool all = std::all_of(pieces.begin() + 1, pieces.end(), [&](const std::string& piece) {
            place = std::find(place, last, piece);
            return place != last && ++place != source.begin();
        });
        if (all) {
            return true;
        }
    }
    return false;
}

} // namespace

std::vector<std::string> piecesOf(const std::string& text, bool isFormat) {
    static const std::regex blank("<[a-z][a-z0-9 _-]*>");
    static const std::regex value(
        "%[-+0#]*[0-9]*(\\.[0-9]+)?(hh|h|ll|l|z)?[diuoxXeEfgGscpn]|%\\.\\*s|<[/!A-Za-z][^>]*>?"
        "|\\{(:[^{}]*)?\\}"); // of printf, of pages, of fmt::format
    std::string plain = text;
    std::replace(plain.begin(), plain.end(), '\n', ' ');
    if (isFormat) {
        replaceAll(plain, "%%", std::string(1, percent));
    }
    std::vector<std::string> pieces;
    for (auto part = std::sregex_token_iterator(plain.begin(), plain.end(), isFormat ? value : blank, -1);
         part != std::sregex_token_iterator(); ++part) {
        std::string piece = trimmed(*part);
        replaceAll(piece, std::string(1, percent), "%");
        if (!piece.empty()) {
            pieces.push_back(piece);
        }
    }
    return pieces;
}

std::vector<Literal> literalsOf(const std::string& source) {
    std::vector<Literal> literals;
    for (const Token& token : readSource(source).tokens) {
        if (token.isLiteral) {
            literals.push_back({token.line, token.text});
        }
    }
    return literals;
}

std::vector<Literal> reportedTexts(const std::string& source) {
    const Tokens tokens = readSource(source).tokens;
    const std::map<std::string, std::string> constants = constantsOf(tokens);
    std::vector<Literal> texts;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        if (!reports(tokens, i)) {
            continue;
        }
        const std::size_t end = endOf(tokens, i);
        for (; i < end; ++i) {
            const auto constant = constants.find(tokens[i].text);
            if (tokens[i].isLiteral) {
                texts.push_back({tokens[i].line, tokens[i].text});
            } else if (constant != constants.end()) {
                texts.push_back({tokens[i].line, constant->second});
            }
        }
        --i;
    }
    return texts;
}

std::vector<Literal> sentencesOf(const std::string& source) {
    const Tokens tokens = readSource(source).tokens;
    std::vector<Literal> texts;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        if (explainsItself(tokens, i)) {
            i = endOf(tokens, i) - 1;
        } else if (tokens[i].isLiteral) {
            texts.push_back({tokens[i].line, tokens[i].text});
        }
    }
    return texts;
}

std::vector<Message> messagesOf(const std::string& document) {
    // A cell of code spans only; each further span is on a line of its own.
    static const std::regex cell("\\| `([^`]+)`(<br>`[^`]+`)* (?=\\|)");
    static const std::regex span("`([^`]+)`");
    std::vector<Message> messages;
    std::size_t number = 0;
    std::istringstream in(document);
    for (std::string line; std::getline(in, line);) {
        ++number;
        if (!line.starts_with("|")) {
            continue;
        }
        for (auto found = std::sregex_iterator(line.begin(), line.end(), cell); found != std::sregex_iterator();
             ++found) {
            const std::string spans = found->str();
            for (auto text = std::sregex_iterator(spans.begin(), spans.end(), span); text != std::sregex_iterator();
                 ++text) {
                messages.push_back({number, (*text)[1]});
            }
        }
    }
    return messages;
}

Breaches messagesThatNothingSays(const Files& files, const std::string& document) {
    std::vector<std::vector<std::string>> sources;
    for (const auto& [path, text] : files) {
        if (scopeOf(path, messageAreas()) == Scope::none) {
            continue;
        }
        std::vector<std::string>& pieces = sources.emplace_back();
        for (const Literal& literal : literalsOf(text)) {
            for (const std::string& piece : piecesOf(literal.text, true)) {
                pieces.push_back(piece);
            }
        }
    }
    Breaches breaches;
    for (const Message& message : messagesOf(files.at(document))) {
        const std::vector<std::string> pieces = piecesOf(message.text, false);
        const bool isSaid = !pieces.empty() && std::any_of(sources.begin(), sources.end(), [&](const auto& source) {
            return isSpelled(pieces, source);
        });
        if (!isSaid) {
            breaches.push_back(document + ":" + std::to_string(message.line) + ": nothing says " + message.text);
        }
    }
    return breaches;
}

Breaches areasThatDoNotFit(const Files& files, const std::vector<Area>& areas) {
    std::set<std::string_view> unused;
    for (const Area& area : areas) {
        unused.insert(area.path);
    }
    std::set<std::string> breaches;
    for (const auto& [path, text] : files) {
        if (!isSource(path)) {
            continue;
        }
        const Area* area = areaOf(path, areas);
        if (area == nullptr) {
            breaches.insert(path + ": in no area of messages");
        } else {
            unused.erase(area->path);
        }
    }
    for (const std::string_view path : unused) {
        breaches.insert("no source is in the area " + std::string(path));
    }
    return {breaches.begin(), breaches.end()};
}

namespace {

/// Looks for the pieces of texts among those that are explained or excepted.
class Explanations {
public:
    Explanations(const std::string& path, const std::string& text, const std::vector<Exceptions>& exceptions)
        : document(path) {
        for (const Message& message : messagesOf(text)) {
            for (const std::string& piece : piecesOf(message.text, false)) {
                explained.insert(piece);
            }
        }
        for (const Exceptions& exception : exceptions) {
            unused.insert(exception.pieces.begin(), exception.pieces.end());
        }
        excepted = unused;
    }

    void look(const std::string& path, const Literal& literal, bool isMessage(const std::string&)) {
        for (const std::string& piece : piecesOf(literal.text, true)) {
            if (!isMessage(piece) || explained.contains(piece)) {
                continue;
            }
            if (excepted.contains(piece)) {
                unused.erase(piece);
            } else {
                breaches.insert(path + ":" + std::to_string(literal.line) + ": not in " + document + ": " + piece);
            }
        }
    }

    Breaches result() {
        for (const std::string& piece : unused) {
            breaches.insert("no message holds the exception: " + piece);
        }
        return {breaches.begin(), breaches.end()};
    }

private:
    std::string document;
    std::set<std::string> explained;
    std::set<std::string> excepted;
    std::set<std::string> unused;
    std::set<std::string> breaches;
};

} // namespace

Breaches messagesThatNothingExplains(const Files& files, const std::string& document,
                                     const std::vector<Exceptions>& exceptions, const std::vector<Area>& areas) {
    Explanations explanations(document, files.at(document), exceptions);
    for (const auto& [path, text] : files) {
        const Scope scope = scopeOf(path, areas);
        if (scope == Scope::none) {
            continue;
        }
        for (const Literal& literal : reportedTexts(text)) {
            explanations.look(path, literal, hasWords);
        }
        if (scope == Scope::sentences) {
            for (const Literal& literal : sentencesOf(text)) {
                explanations.look(path, literal, isSentence);
            }
        }
    }
    return explanations.result();
}

} // namespace tree
