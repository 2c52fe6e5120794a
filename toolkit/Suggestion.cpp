#include "toolkit/Suggestion.h"

#include <algorithm>

namespace toolkit {

namespace {

constexpr std::size_t enoughToComplete = 3;

/// Number of letters to insert, remove or replace, or of neighbours to swap.
std::size_t distance(const std::string& a, const std::string& b) {
    std::vector<std::vector<std::size_t>> table(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i) {
        for (std::size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                table[i][j] = i + j;
                continue;
            }
            const bool same = a[i - 1] == b[j - 1];
            table[i][j] = std::min({table[i - 1][j] + 1, table[i][j - 1] + 1, table[i - 1][j - 1] + (same ? 0 : 1)});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                table[i][j] = std::min(table[i][j], table[i - 2][j - 2] + 1);
            }
        }
    }
    return table[a.size()][b.size()];
}

} // namespace

std::string nearestWord(const std::string& word, const std::vector<std::string>& known) {
    std::string nearest;
    std::size_t least = std::max<std::size_t>(1, word.size() / 3) + 1;
    for (const std::string& each : known) {
        const bool begun = word.size() >= enoughToComplete && each.starts_with(word);
        const std::size_t found = begun ? 1 : distance(word, each);
        if (found < least) {
            least = found;
            nearest = each;
        }
    }
    return word.size() > 1 ? nearest : std::string();
}

std::string suggestion(const std::string& word, const std::vector<std::string>& known, const std::string& before) {
    const std::string nearest = nearestWord(word, known);
    return nearest.empty() ? std::string() : "; did you mean " + before + nearest + "?";
}

} // namespace toolkit
