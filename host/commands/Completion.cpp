#include "host/commands/Completion.h"

#include <algorithm>
#include <set>

namespace host {

namespace {

bool isOption(const std::string& word) {
    return word.size() > 1 && word.front() == '-';
}

const OptionFacts* optionNamed(const CommandFacts& command, const std::string& name) {
    const auto found = std::find_if(command.options.begin(), command.options.end(), [&](const OptionFacts& option) {
        return option.name == name || option.shortName == name;
    });
    return found == command.options.end() ? nullptr : &*found;
}

/// A command line that is being typed, up to the word at its end.
struct Typed {
    const CommandFacts* command;
    const OptionFacts* awaited = nullptr; ///< whose value comes next
    std::size_t arguments = 0;
    std::set<std::string> given{}; ///< names of options

    void take(const std::string& word) {
        if (awaited != nullptr) {
            awaited = nullptr;
            return;
        }
        if (isOption(word)) {
            const std::size_t equals = word.find('=');
            const OptionFacts* option = optionNamed(*command, word.substr(0, equals));
            if (option != nullptr) {
                given.insert(option->name);
                awaited = !option->value.empty() && equals == std::string::npos ? option : nullptr;
            }
            return;
        }
        const auto nested = std::find_if(command->nested.begin(), command->nested.end(),
                                         [&](const CommandFacts& each) { return each.name == word; });
        if (nested != command->nested.end()) {
            *this = Typed{&*nested};
            return;
        }
        ++arguments;
    }
};

/// Collects what begins as the last word does.
class Candidates {
public:
    explicit Candidates(std::string begun) : beginning(std::move(begun)) {}

    void add(const std::string& word, const std::string& about = {}) {
        if (word.starts_with(beginning)) {
            list.push_back({word, about});
        }
    }
    /// `before` precedes the value in the same word.
    void addValues(const OptionFacts& option, const ValueSource& values, const std::string& before) {
        for (const std::string& choice : option.choices) {
            add(before + choice);
        }
        for (const std::string& value : values(option.value)) {
            add(before + value);
        }
        if (option.value.find("FILE") != std::string::npos || option.value.find("STEM") != std::string::npos) {
            list.push_back({completeFiles, {}});
        } else if (option.value.find("DIR") != std::string::npos) {
            list.push_back({completeFolders, {}});
        }
    }
    void addOptions(const Typed& typed) {
        for (const OptionFacts& option : typed.command->options) {
            if (option.repeatable || !typed.given.contains(option.name)) {
                add(option.name, option.about);
            }
        }
    }

    std::vector<Candidate> list;

private:
    std::string beginning;
};

/// Without an "=" of its own; "" follows one at the end.
std::vector<std::string> joinedWords(const std::vector<std::string>& words) {
    std::vector<std::string> result;
    bool joins = false;
    for (const std::string& word : words) {
        if (word == "=" && !result.empty() && isOption(result.back())) {
            result.back() += word;
            joins = true;
        } else if (joins) {
            result.back() += word;
            joins = false;
        } else {
            result.push_back(word);
        }
    }
    return result;
}

} // namespace

std::vector<Candidate> candidatesFor(const CommandFacts& program, const std::vector<std::string>& words,
                                     const ValueSource& values) {
    std::vector<std::string> line = joinedWords(words);
    const std::string last = line.empty() ? std::string() : line.back();
    if (!line.empty()) {
        line.pop_back();
    }
    Typed typed{&program};
    for (const std::string& word : line) {
        typed.take(word);
    }
    Candidates candidates(last);
    const CommandFacts& command = *typed.command;
    if (typed.awaited != nullptr) {
        candidates.addValues(*typed.awaited, values, {});
        return candidates.list;
    }
    const std::size_t equals = last.find('=');
    if (isOption(last) && equals != std::string::npos) {
        const OptionFacts* option = optionNamed(command, last.substr(0, equals));
        if (option != nullptr && !option->value.empty()) {
            candidates.addValues(*option, values, last.substr(0, equals + 1));
        }
        return candidates.list;
    }
    if (!last.starts_with('-')) {
        for (const CommandFacts& nested : command.nested) {
            candidates.add(nested.name, nested.about);
        }
        if (typed.arguments < command.arguments.size()) {
            candidates.addValues(command.arguments[typed.arguments], values, {});
        }
    }
    if (candidates.list.empty() || last.starts_with('-')) {
        candidates.addOptions(typed);
    }
    return candidates.list;
}

} // namespace host
