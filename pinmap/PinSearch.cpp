#include "pinmap/PinSearch.h"

#include <algorithm>
#include <array>

namespace Vx::Qrs::Trace::OrvRcvr {

namespace {

// A set of pin numbers. Real pins are small, so that nearly every question is one bit; any other number is looked
// for in a list.
class PinSet {
public:
    explicit PinSet(const PinList& pins) { add(pins); }

    void add(const PinList& pins) {
        for (const std::uint32_t pin : pins)
            add(pin);
    }

    void add(std::uint32_t pin) {
        if (pin < 64)
            low |= std::uint64_t{1} << pin;
        else
            high.push_back(pin);
    }

    bool holds(std::uint32_t pin) const {
        if (pin < 64)
            return (low >> pin & 1U) != 0;
        return std::find(high.begin(), high.end(), pin) != high.end();
    }

private:
    std::uint64_t low = 0;
    PinList high;
};

struct Limits {
    PinSet excluded;
    const PinSet* required; // null: any pin may be used
};

bool listServes(const PinList& list, std::uint32_t dataPins, bool exact, const Limits& limits) {
    const std::size_t available = list.size() - 1;
    if (exact ? available != dataPins : dataPins > available)
        return false;
    return std::all_of(list.begin(), list.end(), [&](std::uint32_t pin) {
        return !limits.excluded.holds(pin) && (limits.required == nullptr || limits.required->holds(pin));
    });
}

// Lists are never empty: a reader drops those.
const PinList* findList(const Pinout& pinout, const PinRequest& request, bool exact, const Limits& limits) {
    const auto kind = pinout.find(request.kind);
    if (kind == pinout.end())
        return nullptr;
    for (const PinList& list : kind->second) {
        if (!list.empty() && listServes(list, request.dataPins, exact, limits))
            return &list;
    }
    return nullptr;
}

using WorkingOrder = std::vector<const PinRequests::value_type*>;

// Large requests are the hardest to place and so come first; equal ones keep the order of their names.
WorkingOrder orderRequests(const PinRequests& requests) {
    WorkingOrder order;
    for (const auto& request : requests)
        order.push_back(&request);
    std::stable_sort(order.begin(), order.end(), [](const auto* left, const auto* right) {
        return left->second.dataPins > right->second.dataPins;
    });
    return order;
}

bool grantAll(PinGrants& grants, const Pinout& pinout, OwnerNames& owners, const WorkingOrder& order, bool allExact,
              Limits limits) {
    grants.clear();
    for (const auto* request : order) {
        const PinList* list = findList(pinout, request->second, allExact || request->second.exact, limits);
        if (list == nullptr)
            return false;
        limits.excluded.add(*list);
        grants[request->first] = PinGrant{*list, owners[request->second.kind]};
    }
    return true;
}

} // namespace

bool tryPinout(PinGrant& grant, const Pinouts& pinouts, OwnerNames& owners, const std::string& pinoutName,
               const PinRequest& request, const PinList& excluded, const PinList& required) {
    const auto pinout = pinouts.find(pinoutName);
    if (pinout == pinouts.end())
        return false;
    const PinSet requiredSet(required);
    const Limits limits{PinSet(excluded), required.empty() ? nullptr : &requiredSet};
    const PinList* list = findList(pinout->second, request, request.exact, limits);
    if (list == nullptr)
        return false;
    grant = PinGrant{*list, owners[request.kind]};
    return true;
}

bool searchPinouts(PinGrants& grants, std::string& pinoutName, const Pinouts& pinouts, OwnerNames& owners,
                   const PinRequests& requests, const PinList& excluded, const PinList& required) {
    // Pins 0 and 1 serve other purposes on most boards, so they are given away last.
    static const std::array<PinList, 4> spared{PinList{0, 1}, PinList{0}, PinList{1}, PinList{}};

    const WorkingOrder order = orderRequests(requests);
    const PinSet requiredSet(required);
    for (const bool allExact : {true, false}) {
        for (const PinList& spare : spared) {
            Limits limits{PinSet(excluded), required.empty() ? nullptr : &requiredSet};
            limits.excluded.add(spare);
            for (const auto& [name, pinout] : pinouts) {
                if (grantAll(grants, pinout, owners, order, allExact, limits)) {
                    pinoutName = name;
                    return true;
                }
            }
        }
    }
    return false;
}

} // namespace Vx::Qrs::Trace::OrvRcvr
