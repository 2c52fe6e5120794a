#include "host/pins/PinAnswers.h"

#include "toolkit/Format.h"
#include "toolkit/Text.h"
#include "toolkit/TextFile.h"

#include <algorithm>
#include <iterator>
#include <set>

namespace host {

namespace {

using Vx::Qrs::Trace::OrvRcvr::OwnerNames;
using Vx::Qrs::Trace::OrvRcvr::PinGrants;
using Vx::Qrs::Trace::OrvRcvr::PinRequest;

const PinList connector{0, 1, 2, 3, 4, 5};
constexpr const char* requestName = "request";

/// Calls with (pin-out name, list) for every assignment of a kind.
template <class Visit>
void forEachList(const Pinouts& pinouts, const std::string& kind, Visit visit) {
    for (const auto& [name, pinout] : pinouts) {
        const auto found = pinout.find(kind);
        if (found == pinout.end()) {
            continue;
        }
        for (const PinList& list : found->second) {
            visit(name, list);
        }
    }
}

std::vector<PinList> listsOf(const Pinouts& pinouts, const std::string& kind, std::optional<unsigned> dataPins) {
    std::vector<PinList> lists;
    forEachList(pinouts, kind, [&](const std::string&, const PinList& list) {
        if (!dataPins || list.size() == *dataPins + 1U) {
            lists.push_back(list);
        }
    });
    return lists;
}

bool onConnector(const PinList& list) {
    return std::all_of(list.begin(), list.end(), [](std::uint32_t pin) { return pin < connector.size(); });
}

template <class Items, class Text>
std::string joined(const Items& items, const char* separator, Text text) {
    std::vector<std::string> parts;
    std::transform(items.begin(), items.end(), std::back_inserter(parts), text);
    return toolkit::joined(parts, separator);
}

} // namespace

std::string pinsText(const PinList& pins) {
    return joined(pins, ",", [](std::uint32_t pin) { return std::to_string(pin); });
}

std::vector<std::string> kindsOf(const Pinouts& pinouts) {
    std::set<std::string> kinds;
    for (const auto& [name, pinout] : pinouts) {
        for (const auto& [kind, lists] : pinout) {
            kinds.insert(kind);
        }
    }
    return {kinds.begin(), kinds.end()};
}

std::string refusalReason(const Pinouts& pinouts, const std::string& kind, unsigned dataPins, const PinList& asked) {
    if (listsOf(pinouts, kind, std::nullopt).empty()) {
        const std::string kinds = toolkit::joined(kindsOf(pinouts), ", ");
        return "no pin-out carries " + kind + " trace; there is " + (kinds.empty() ? "none" : kinds);
    }
    const std::vector<PinList> fitting = listsOf(pinouts, kind, dataPins);
    if (fitting.empty()) {
        std::set<std::size_t> counts;
        for (const PinList& list : listsOf(pinouts, kind, std::nullopt)) {
            counts.insert(list.size() - 1);
        }
        return "no pin-out has " + toolkit::countText(dataPins, "data pin") + " for " + kind + "; there are " +
               joined(counts, ", ", [](std::size_t count) { return std::to_string(count); });
    }
    const std::string choices = joined(fitting, "; ", pinsText);
    if (!asked.empty() && std::any_of(fitting.begin(), fitting.end(), onConnector)) {
        return "no pin-out puts " + kind + " on just these pins; with " + toolkit::countText(dataPins, "data pin") +
               " there are " + choices;
    }
    return "all pin-outs with " + toolkit::countText(dataPins, "data pin") + " for " + kind +
           " use pins that the capture unit is not wired to, which has 0 to 5: " + choices;
}

PinAnswer answerOf(const Pinouts& pinouts, const std::string& kind, unsigned dataPins, const PinList& asked) {
    PinAnswer answer;
    answer.kind = kind;
    answer.dataPins = dataPins;
    answer.asked = asked;
    PinList excluded;
    if (!asked.empty()) {
        for (const std::uint32_t pin : connector) {
            if (std::find(asked.begin(), asked.end(), pin) == asked.end()) {
                excluded.push_back(pin);
            }
        }
    }
    PinGrants grants;
    OwnerNames owners;
    answer.granted = searchPinouts(grants, answer.pinout, pinouts, owners,
                                   {{requestName, PinRequest{kind, dataPins, true}}}, excluded, connector);
    if (!answer.granted) {
        answer.remark = refusalReason(pinouts, kind, dataPins, asked);
        return answer;
    }
    answer.pins = grants[requestName].pins;
    if (!asked.empty() && asked != answer.pins) {
        // The search only shows that the pins are available; the map is used in its given order.
        answer.remark = "the pin-out's own order is " + pinsText(answer.pins) + "; yours would be used unchanged";
        answer.pins = asked;
    }
    return answer;
}

} // namespace host
