#include "tests/simulation/faults/Faults.h"

#include "tests/simulation/faults/Quiet.h"
#include "tests/simulation/scheduler/Scheduler.h"

#include <array>
#include <stdexcept>
#include <string_view>

namespace simulation {

namespace {

constexpr std::array names{"memory",       "threadStart",   "fileOpen",    "fileRead",  "fileWrite",    "fileFlush",
                           "fileClose",    "fileRename",    "fileRemove",  "fileLink",  "socketCreate", "socketListen",
                           "socketAccept", "socketConnect", "socketReset", "socketEnd", "libraryLoad",  "processList",
                           "processStart", "processDeath",  "request"};

} // namespace

static_assert(names.size() == static_cast<std::size_t>(Fault::request) + 1);

const char* nameOf(Fault fault) {
    return names.at(static_cast<std::size_t>(fault));
}

const std::vector<Fault>& allFaults() {
    static const std::vector<Fault> all = [] {
        std::vector<Fault> list;
        for (std::size_t i = 0; i < names.size(); ++i) {
            list.push_back(static_cast<Fault>(i));
        }
        return list;
    }();
    return all;
}

std::string textOf(const FaultPlan& plan) {
    return std::string(nameOf(plan.fault)) + ':' + std::to_string(plan.thread) + ':' + std::to_string(plan.index) +
           (plan.andLater ? "+" : "");
}

FaultPlan faultPlanOf(const std::string& text) {
    FaultPlan plan;
    const std::size_t first = text.find(':');
    const std::size_t second = text.find(':', first + 1);
    for (const Fault fault : allFaults()) {
        if (second != std::string::npos && std::string_view(text).substr(0, first) == nameOf(fault)) {
            plan.fault = fault;
            plan.thread = static_cast<ThreadNumber>(std::stoul(text.substr(first + 1)));
            plan.index = static_cast<std::uint32_t>(std::stoul(text.substr(second + 1)));
            plan.andLater = text.ends_with('+');
            return plan;
        }
    }
    throw std::invalid_argument("not a fault: " + text);
}

Faults& Faults::instance() {
    static Faults faults;
    return faults;
}

void Faults::begin(const std::optional<FaultPlan>& plan) {
    current = plan;
    counted.clear();
    started = false;
    failed = false;
    ended = false;
}

bool Faults::fails(Fault fault) {
    if (!Scheduler::isSimulated() || Quiet::isOn() || ended) {
        return false;
    }
    const Quiet quiet;
    const ThreadNumber thread = Scheduler::instance().self();
    const std::uint32_t index = counted[{fault, thread}]++;
    if (!current.has_value() || current->fault != fault) {
        return false;
    }
    const bool isIt = current->thread == thread && current->index == index;
    started = started || isIt;
    const bool now = isIt || (started && current->andLater);
    failed = failed || now;
    return now;
}

} // namespace simulation
