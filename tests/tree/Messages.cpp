#include "tests/tree/Messages.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string_view>

namespace tree {

namespace {

constexpr std::array<std::string_view, 11> messageRooms{
    "common/", "link/", "pinmap/", "tdf/", "mpx/", "client/", "rcvr/", "toolkit/", "diagnosis/", "host/", "bench/"};

/// The report's look, which is one literal of rules for the browser.
constexpr std::string_view styleSheet = "diagnosis/report/Style.cpp";

bool isProduct(std::string_view path) {
    return isSource(std::string(path)) && path != styleSheet &&
           std::any_of(messageRooms.begin(), messageRooms.end(),
                       [path](std::string_view room) { return path.starts_with(room); });
}

std::string trimmed(const std::string& text) {
    const char* blanks = " \t\r\n";
    const std::size_t begin = text.find_first_not_of(blanks);
    return begin == std::string::npos ? "" : text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

constexpr char percent = '\1'; // stands for a doubled one while conversions are looked for

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

/// A source as tokens: literals, and what stands between them with comments taken out.
class Reader {
public:
    explicit Reader(const std::string& text) : source(text) { read(); }

    struct Token {
        std::size_t line;
        bool isLiteral;
        std::string text;
    };
    std::vector<Token> tokens;

private:
    void read() {
        while (at < source.size()) {
            const char c = source[at];
            if (startsWith("//")) {
                skipTo("\n", 0);
            } else if (startsWith("/*")) {
                skipTo("*/", 2);
            } else if (startsWith("R\"(")) {
                rawLiteral();
            } else if (c == '"') {
                literal();
            } else if (c == '\'') {
                character();
            } else if (c == '#' && startsLine()) {
                directive();
            } else {
                code(c);
            }
        }
    }

    bool startsWith(std::string_view mark) const { return std::string_view(source).substr(at).starts_with(mark); }

    bool startsLine() const {
        const std::size_t begin = source.rfind('\n', at) + 1;
        return at == 0 || trimmed(source.substr(begin, at - begin)).empty();
    }

    void advance() { line += source[at++] == '\n' ? 1U : 0U; }

    void skipTo(std::string_view mark, std::size_t behind) {
        while (at < source.size() && !startsWith(mark)) {
            advance();
        }
        at = std::min(source.size(), at + behind);
    }

    void directive() {
        const bool isInclude = source.compare(at, 8, "#include") == 0;
        if (isInclude) {
            skipTo("\n", 0);
        } else {
            advance();
        }
    }

    void literal() {
        const std::size_t begin = line;
        std::string text;
        advance();
        while (at < source.size() && source[at] != '"') {
            if (source[at] != '\\') {
                text += source[at];
            } else {
                advance();
                text += source[at] == 'n' ? '\n' : source[at] == 't' ? '\t' : source[at];
            }
            advance();
        }
        advance();
        add(begin, text);
    }

    void rawLiteral() {
        const std::size_t begin = line;
        at += 3;
        const std::size_t start = at;
        skipTo(")\"", 0);
        add(begin, source.substr(start, at - start));
        at += 2;
    }

    void add(std::size_t begin, const std::string& text) {
        if (!tokens.empty() && tokens.back().isLiteral) {
            tokens.back().text += text;
        } else {
            tokens.push_back({begin, true, text});
        }
    }

    void character() {
        // A mark inside a number separates digits.
        if (at > 0 && std::isalnum(static_cast<unsigned char>(source[at - 1])) != 0) {
            advance();
            return;
        }
        advance();
        while (at < source.size() && source[at] != '\'') {
            if (source[at] == '\\') {
                advance();
            }
            advance();
        }
        advance();
    }

    void code(char c) {
        if (std::isspace(static_cast<unsigned char>(c)) == 0) {
            const bool isWord = std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
            const bool joins = isWord && joinable && !tokens.empty() && !tokens.back().isLiteral;
            if (joins) {
                tokens.back().text += c;
            } else {
                tokens.push_back({line, false, std::string(1, c)});
            }
            joinable = isWord;
        } else {
            joinable = false;
        }
        advance();
    }

    const std::string& source;
    std::size_t at = 0;
    std::size_t line = 1;
    bool joinable = false;
};

using Tokens = std::vector<Reader::Token>;

/// Calls whose texts reach a person.
bool reports(const Tokens& tokens, std::size_t index) {
    static const std::set<std::string> calls{"fail",       "failWith",    "refuse",   "damaged",    "usage",
                                             "logAndFail", "throwError",  "note",     "signalStop", "recordError",
                                             "failOpen",   "require",     "Failure",  "logError",   "logWarning",
                                             "logErrorAt", "checkResult", "allocate", "logMessage", "logMessageAt",
                                             "logStep",    "logStepError"};
    const std::string& text = tokens[index].text;
    if (tokens[index].isLiteral) {
        return false;
    }
    const auto next = [&](std::size_t distance, std::string_view wanted) {
        return index + distance < tokens.size() && tokens[index + distance].text == wanted;
    };
    if (calls.contains(text)) {
        return next(1, "(");
    }
    if (text == "fprintf") {
        return next(1, "(") && next(2, "stderr");
    }
    return text == "throw" || (text == "cerr" && next(1, "<"));
}

/// Calls whose texts are none that happen: the help of orvtrace, which explains itself, and what a compiler says.
bool helps(const Tokens& tokens, std::size_t index) {
    static const std::set<std::string> calls{
        "addArgument",      "addOptionalArgument", "addOption",     "addFlag", "addNumber",
        "addWhole",         "addSubcommand",       "add_flag",      "footer",  "Command",
        "DiagnosisCommand", "set_help_flag",       "static_assert", "app"};
    return !tokens[index].isLiteral && calls.contains(tokens[index].text) && index + 1 < tokens.size() &&
           tokens[index + 1].text == "(";
}

/// One past the statement or the call that begins at `index`.
std::size_t endOf(const Tokens& tokens, std::size_t index) {
    const bool isStatement = tokens[index].text == "throw" || tokens[index].text == "cerr";
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
    for (const Reader::Token& token : Reader(source).tokens) {
        if (token.isLiteral) {
            literals.push_back({token.line, token.text});
        }
    }
    return literals;
}

std::vector<Literal> reportedTexts(const std::string& source) {
    const Tokens tokens = Reader(source).tokens;
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
    const Tokens tokens = Reader(source).tokens;
    std::vector<Literal> texts;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        if (helps(tokens, i)) {
            i = endOf(tokens, i) - 1;
        } else if (tokens[i].isLiteral) {
            texts.push_back({tokens[i].line, tokens[i].text});
        }
    }
    return texts;
}

std::vector<Message> messagesOf(const std::string& document) {
    // A cell of code spans only; a second span and so on stands on a line of its own.
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
        if (!isProduct(path)) {
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

Breaches messagesThatNothingExplains(const Files& files, const std::string& document,
                                     const std::vector<Exception>& pieces, const std::vector<FileException>& sources) {
    std::set<std::string> explained;
    for (const Message& message : messagesOf(files.at(document))) {
        for (const std::string& piece : piecesOf(message.text, false)) {
            explained.insert(piece);
        }
    }
    std::set<std::string> excepted;
    for (const Exception& exception : pieces) {
        excepted.insert(exception.piece);
    }
    std::set<std::string> withoutSentences;
    for (const FileException& exception : sources) {
        withoutSentences.insert(exception.path);
    }
    std::set<std::string> used;
    std::set<std::string> breaches;
    const auto look = [&](const std::string& path, const Literal& literal, bool isReported) {
        for (const std::string& piece : piecesOf(literal.text, true)) {
            if (!(isReported ? hasWords(piece) : isSentence(piece)) || explained.contains(piece)) {
                continue;
            }
            if (excepted.contains(piece)) {
                used.insert(piece);
            } else if (!isReported && withoutSentences.contains(path)) {
                used.insert(path);
            } else {
                breaches.insert(path + ":" + std::to_string(literal.line) + ": not in " + document + ": " + piece);
            }
        }
    };
    for (const auto& [path, text] : files) {
        if (!isProduct(path)) {
            continue;
        }
        for (const Literal& literal : reportedTexts(text)) {
            look(path, literal, true);
        }
        for (const Literal& literal : sentencesOf(text)) {
            look(path, literal, false);
        }
    }
    excepted.insert(withoutSentences.begin(), withoutSentences.end());
    for (const std::string& exception : excepted) {
        if (!used.contains(exception)) {
            breaches.insert("no message holds the exception: " + exception);
        }
    }
    return {breaches.begin(), breaches.end()};
}

namespace {

/// What a row is looked up by: its first fixed word.
std::string sortingText(const std::string& message) {
    std::string text;
    for (const std::string& piece : piecesOf(message, false)) {
        text += (text.empty() ? "" : " ") + piece;
    }
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const auto begin = std::find_if(text.begin(), text.end(), [](unsigned char c) { return std::isalnum(c) != 0; });
    return {begin, text.end()};
}

} // namespace

Breaches rowsOutOfOrder(const Files& files, const std::string& document) {
    static const std::regex first("\\| `([^`]+)`.*");
    Breaches breaches;
    std::set<std::string> seen;
    std::string previous;
    bool isSorted = false;
    std::size_t number = 0;
    std::istringstream in(files.at(document));
    for (std::string line; std::getline(in, line);) {
        const std::string place = document + ":" + std::to_string(++number) + ": ";
        if (!line.starts_with("| `")) {
            isSorted = line.starts_with("| message |") || (isSorted && line.starts_with("|---"));
            previous.clear();
            continue;
        }
        std::smatch match;
        if (!std::regex_match(line, match, first)) {
            continue;
        }
        if (!seen.insert(match[1]).second) {
            breaches.push_back(place + "stands twice: " + match[1].str());
        }
        const std::string text = sortingText(match[1]);
        if (isSorted && text < previous) {
            breaches.push_back(place + "out of order: " + match[1].str());
        }
        previous = text;
    }
    return breaches;
}

Breaches headingsOutsideTheIndex(const Files& files, const std::string& document) {
    const std::string& text = files.at(document);
    const std::string index = text.substr(0, text.find("\n## "));
    static const std::regex heading("\n###? ([^\n]+)");
    Breaches breaches;
    for (auto match = std::sregex_iterator(text.begin(), text.end(), heading); match != std::sregex_iterator();
         ++match) {
        if (index.find("[" + (*match)[1].str() + "](#") == std::string::npos) {
            breaches.push_back(document + ": not in the index: " + (*match)[1].str());
        }
    }
    return breaches;
}

} // namespace tree
