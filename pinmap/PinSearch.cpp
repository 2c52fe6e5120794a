#include "pinmap/PinSearch.h"

#include <algorithm>
#include <array>

namespace Vx::Qrs::Trace::OrvRcvr {

namespace {

// A set of pin numbers. Real pins are small, so nearly every query is one bit; other numbers are searched for in a
// list.
class PinSet {
public:
    explicit PinSet(const PinList& pins) { add(pins); }

    void add(const PinList& pins) {
        for (const std::uint32_t pin : pins) {
            add(pin);
        }
    }

    void add(std::uint32_t pin) {
        if (pin < 64) {
            low |= std::uint64_t{1} << pin;
        } else {
            high.push_back(pin);
        }
    }

    bool holds(std::uint32_t pin) const {
        if (pin < 64) {
            return (low >> pin & 1U) != 0;
        }
        return std::find(high.begin(), high.end(), pin) != high.end();
    }

    /// Of the pins below 64, as bits.
    bool holdsAnyLow(std::uint64_t pins) const { return (low & pins) != 0; }

private:
    std::uint64_t low = 0;
    PinList high;
};

// A list that the caller's limits allow, prepared for the frequent query whether its pins are free.
class Candidate {
public:
    explicit Candidate(const PinList& list) : pins(&list) {
        for (const std::uint32_t pin : list) {
            if (pin < 64) {
                low |= std::uint64_t{1} << pin;
            } else {
                hasHigh = true;
            }
        }
    }

    const PinList& list() const { return *pins; }

    bool serves(std::uint32_t dataPins, bool exact, const PinSet& used) const {
        const std::size_t available = pins->size() - 1;
        if (exact ? available != dataPins : dataPins > available) {
            return false;
        }
        if (used.holdsAnyLow(low)) {
            return false;
        }
        return !hasHigh || std::none_of(pins->begin(), pins->end(), [&](std::uint32_t pin) { return used.holds(pin); });
    }

private:
    const PinList* pins;
    std::uint64_t low = 0;
    bool hasHigh = false;
};
using Candidates = std::vector<Candidate>;

Candidates findCandidates(const Pinout& pinout, const std::string& kind, const PinSet& excluded,
                          const PinSet* required) {
    Candidates candidates;
    const auto lists = pinout.find(kind);
    if (lists == pinout.end()) {
        return candidates;
    }
    candidates.reserve(lists->second.size());
    for (const PinList& list : lists->second) {
        const bool allowed = std::all_of(list.begin(), list.end(), [&](std::uint32_t pin) {
            return !excluded.holds(pin) && (required == nullptr || required->holds(pin));
        });
        // Empty lists are ignored, as a reader does.
        if (allowed && !list.empty()) {
            candidates.emplace_back(list);
        }
    }
    return candidates;
}

const PinList* findList(const Candidates& candidates, const PinRequest& request, bool exact, const PinSet& used) {
    for (const Candidate& candidate : candidates) {
        if (candidate.serves(request.dataPins, exact, used)) {
            return &candidate.list();
        }
    }
    return nullptr;
}

using WorkingOrder = std::vector<const PinRequests::value_type*>;

// Large requests are the hardest to place and so are first; equal ones keep the order of their names.
WorkingOrder orderRequests(const PinRequests& requests) {
    WorkingOrder order;
    for (const auto& request : requests) {
        order.push_back(&request);
    }
    std::stable_sort(order.begin(), order.end(), [](const auto* left, const auto* right) {
        return left->second.dataPins > right->second.dataPins;
    });
    return order;
}

// One search. A pin-out is tried up to eight times; values that do not change between the tries are computed in the
// first, and the grants are written once.
class Search {
public:
    Search(const Pinouts& all, const PinRequests& requests, const PinList& excluded, const PinList& required)
        : order(orderRequests(requests)), excludedSet(excluded), requiredSet(required), limited(!required.empty()) {
        pinouts.reserve(all.size());
        for (const auto& pinout : all) {
            pinouts.push_back({&pinout, {}});
        }
    }

    // The name of the pin-out that serves all requests, or null; `granted` has the result of the last try.
    const std::string* run() {
        // Pins 0 and 1 serve other purposes on most boards, so they are granted last.
        static const std::array<PinList, 4> spared{PinList{0, 1}, PinList{0}, PinList{1}, PinList{}};
        for (const bool allExact : {true, false}) {
            for (const PinList& spare : spared) {
                for (Entry& entry : pinouts) {
                    if (grantAll(entry, allExact, PinSet(spare))) {
                        return &entry.pinout->first;
                    }
                }
            }
        }
        return nullptr;
    }

    void write(PinGrants& grants, OwnerNames& owners) const {
        // A kind is added by its first grant, even by one that is revoked later.
        for (std::size_t i = 0; i < everGranted; ++i) {
            owners[order[i]->second.kind];
        }
        if (tried) {
            grants.clear();
        }
        for (std::size_t i = 0; i < granted.size(); ++i) {
            grants[order[i]->first] = PinGrant{*granted[i], owners[order[i]->second.kind]};
        }
    }

private:
    struct Entry {
        const Pinouts::value_type* pinout;
        std::vector<Candidates> candidates; // of each request in the working order, as far as computed
    };

    const Candidates& candidatesOf(Entry& entry, std::size_t place) const {
        while (entry.candidates.size() <= place) {
            const PinRequest& request = order[entry.candidates.size()]->second;
            entry.candidates.push_back(
                findCandidates(entry.pinout->second, request.kind, excludedSet, limited ? &requiredSet : nullptr));
        }
        return entry.candidates[place];
    }

    bool grantAll(Entry& entry, bool allExact, PinSet used) {
        tried = true;
        granted.clear();
        for (std::size_t i = 0; i < order.size(); ++i) {
            const PinRequest& request = order[i]->second;
            const PinList* list = findList(candidatesOf(entry, i), request, allExact || request.exact, used);
            if (list == nullptr) {
                return false;
            }
            used.add(*list);
            granted.push_back(list);
            everGranted = std::max(everGranted, granted.size());
        }
        return true;
    }

    WorkingOrder order;
    PinSet excludedSet;
    PinSet requiredSet;
    bool limited; // to the required pins
    std::vector<Entry> pinouts;
    std::vector<const PinList*> granted; // in the working order
    std::size_t everGranted = 0;
    bool tried = false;
};

} // namespace

bool tryPinout(PinGrant& grant, const Pinouts& pinouts, OwnerNames& owners, const std::string& pinoutName,
               const PinRequest& request, const PinList& excluded, const PinList& required) {
    const auto pinout = pinouts.find(pinoutName);
    if (pinout == pinouts.end()) {
        return false;
    }
    const PinSet requiredSet(required);
    const Candidates candidates =
        findCandidates(pinout->second, request.kind, PinSet(excluded), required.empty() ? nullptr : &requiredSet);
    const PinList* list = findList(candidates, request, request.exact, PinSet({}));
    if (list == nullptr) {
        return false;
    }
    grant = PinGrant{*list, owners[request.kind]};
    return true;
}

bool searchPinouts(PinGrants& grants, std::string& pinoutName, const Pinouts& pinouts, OwnerNames& owners,
                   const PinRequests& requests, const PinList& excluded, const PinList& required) {
    Search search(pinouts, requests, excluded, required);
    const std::string* name = search.run();
    search.write(grants, owners);
    if (name == nullptr) {
        return false;
    }
    pinoutName = *name;
    return true;
}

} // namespace Vx::Qrs::Trace::OrvRcvr
