#include "tests/simulation/scheduler/Strategy.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <map>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace simulation {

namespace {

bool contains(std::span<const ThreadNumber> numbers, ThreadNumber number) {
    return std::find(numbers.begin(), numbers.end(), number) != numbers.end();
}

class Replay final : public Strategy {
public:
    explicit Replay(std::vector<Departure> list) {
        for (const Departure& departure : list) {
            departures[{departure.thread, departure.step}] = departure.choice;
        }
    }

    Choice choose(const Situation& situation) override {
        const Choice usual{defaultChoice(situation), 0};
        const auto found = departures.find({situation.running, ++steps[situation.running]});
        if (found == departures.end()) {
            return usual;
        }
        const Choice& choice = found->second;
        const bool possible = contains(situation.ready, choice.next) || contains(situation.sleepers, choice.next);
        return possible ? choice : usual;
    }

private:
    std::map<std::pair<ThreadNumber, std::uint32_t>, Choice> departures;
    std::map<ThreadNumber, std::uint32_t> steps;
};

/// Reads a number and the character after it; '\0' at the end.
template <class Number>
Number take(std::string_view& text, char& after) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{}) {
        throw std::invalid_argument("no number in the departures: " + std::string(text));
    }
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    after = text.empty() ? '\0' : text.front();
    if (!text.empty()) {
        text.remove_prefix(1);
    }
    return number;
}

} // namespace

const char* nameOf(Operation operation) {
    constexpr std::array names{"begin", "lock", "unlock", "start",   "wait",    "end",
                               "sleep", "file", "socket", "process", "request", "atomic"};
    return names.at(static_cast<std::size_t>(operation));
}

ThreadNumber defaultChoice(const Situation& situation) {
    if (situation.canGoOn) {
        return situation.running;
    }
    if (situation.ready.empty()) {
        return situation.sleepers.front();
    }
    const auto next = std::upper_bound(situation.ready.begin(), situation.ready.end(), situation.running);
    return next == situation.ready.end() ? situation.ready.front() : *next;
}

std::string textOf(const std::vector<Departure>& departures) {
    std::string text;
    for (const Departure& departure : departures) {
        text += (text.empty() ? "" : " ") + std::to_string(departure.thread) + ':' + std::to_string(departure.step) +
                '>' + std::to_string(departure.choice.next);
        if (departure.choice.stall != 0) {
            text += '/' + std::to_string(departure.choice.stall);
        }
    }
    return text;
}

std::vector<Departure> departuresOf(const std::string& text) {
    std::vector<Departure> departures;
    std::string_view rest(text);
    while (!rest.empty()) {
        Departure departure;
        char after = '\0';
        departure.thread = take<ThreadNumber>(rest, after);
        const auto require = [&](char wanted) {
            if (after != wanted) {
                throw std::invalid_argument("not a departure: " + text);
            }
        };
        require(':');
        departure.step = take<std::uint32_t>(rest, after);
        require('>');
        departure.choice.next = take<ThreadNumber>(rest, after);
        if (after == '/') {
            departure.choice.stall = take<Time>(rest, after);
        }
        departures.push_back(departure);
    }
    return departures;
}

std::unique_ptr<Strategy> makeReplay(std::vector<Departure> departures) {
    return std::make_unique<Replay>(std::move(departures));
}

} // namespace simulation
