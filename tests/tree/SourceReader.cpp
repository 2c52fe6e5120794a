#include "tests/tree/SourceReader.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace tree {

namespace {

bool isWordCharacter(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

class Reader {
public:
    explicit Reader(const std::string& text) : source(text) {}

    SourceText read() {
        while (at < source.size()) {
            readNext();
        }
        return std::move(result);
    }

private:
    void readNext() {
        const char c = source[at];
        if (startsWith("//")) {
            comment("//", "\n");
        } else if (startsWith("/*")) {
            comment("/*", "*/");
        } else if (startsWith("R\"")) {
            rawLiteral();
        } else if (c == '"') {
            literal();
        } else if (c == '\'') {
            character();
        } else if (startsWith("#include")) {
            skipTo("\n");
        } else {
            code(c);
        }
    }

    bool startsWith(std::string_view mark) const { return std::string_view(source).substr(at).starts_with(mark); }

    void advance() { line += source[at++] == '\n' ? 1U : 0U; }

    void advanceBy(std::size_t count) {
        for (; count > 0 && at < source.size(); --count) {
            advance();
        }
    }

    void skipTo(std::string_view mark) {
        while (at < source.size() && !startsWith(mark)) {
            advance();
        }
    }

    void comment(std::string_view begin, std::string_view end) {
        advanceBy(begin.size());
        while (at < source.size() && (source[at] == '/' || source[at] == '!' || source[at] == '<')) {
            advance();
        }
        const std::size_t first = line;
        const std::size_t start = at;
        skipTo(end);
        const std::string text = source.substr(start, at - start);
        if (!result.comments.empty() && lastCommentLine + 1 == first) {
            result.comments.back().text += "\n" + text;
        } else {
            result.comments.push_back({first, text});
        }
        lastCommentLine = line;
        if (end != "\n") {
            advanceBy(end.size());
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
        const std::size_t open = source.find('(', at);
        const std::string end = ")" + source.substr(at + 2, open - at - 2) + "\"";
        advanceBy(open + 1 - at);
        const std::size_t start = at;
        skipTo(end);
        add(begin, source.substr(start, at - start));
        advanceBy(end.size());
    }

    void add(std::size_t begin, const std::string& text) {
        if (!result.tokens.empty() && result.tokens.back().isLiteral) {
            result.tokens.back().text += text;
        } else {
            result.tokens.push_back({begin, true, text});
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
            const bool isWord = isWordCharacter(c);
            if (isWord && wordGoesOn && !result.tokens.empty() && !result.tokens.back().isLiteral) {
                result.tokens.back().text += c;
            } else {
                result.tokens.push_back({line, false, std::string(1, c)});
            }
            wordGoesOn = isWord;
        } else {
            wordGoesOn = false;
        }
        advance();
    }

    const std::string& source;
    SourceText result;
    std::size_t at = 0;
    std::size_t line = 1;
    std::size_t lastCommentLine = 0;
    bool wordGoesOn = false;
};

} // namespace

SourceText readSource(const std::string& source) {
    return Reader(source).read();
}

} // namespace tree
