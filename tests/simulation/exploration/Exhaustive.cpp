#include "tests/simulation/exploration/Child.h"
#include "tests/simulation/exploration/Schedule.h"
#include "tests/simulation/exploration/Search.h"

#include <algorithm>
#include <map>
#include <utility>

namespace simulation {

namespace {

/// A schedule that is still to be run: the default, but for these departures, in their order.
struct Open {
    std::vector<Departure> departures;
    unsigned preemptions = 0;
};

/// Follows departures, and from the last one on notes where the schedule could go otherwise. Each schedule is met once:
/// an alternative only adds a departure later than all others.
class Enumeration final : public Strategy {
public:
    Enumeration(const Open& schedule, unsigned most, std::vector<Open>& alternatives)
        : followed(schedule), mostPreemptions(most), found(alternatives) {
        found.clear();
    }

    Choice choose(const Situation& situation) override {
        const std::uint32_t step = ++steps[situation.running];
        const ThreadNumber usual = defaultChoice(situation);
        if (next < followed.departures.size()) {
            const Departure& departure = followed.departures[next];
            if (departure.thread != situation.running || departure.step != step) {
                return {usual, 0};
            }
            ++next;
            return departure.choice;
        }
        // A choice has to be one while there is another: a single thread is followed without a look.
        for (const ThreadNumber number : situation.ready) {
            add(situation, step, number, usual, situation.canGoOn ? 1 : 0);
        }
        const bool wakesEarly = situation.canGoOn || !situation.ready.empty() || situation.sleepers.size() > 1;
        for (const ThreadNumber number : situation.sleepers) {
            add(situation, step, number, usual, wakesEarly ? 1 : 0);
        }
        return {usual, 0};
    }

private:
    void add(const Situation& situation, std::uint32_t step, ThreadNumber number, ThreadNumber usual, unsigned cost) {
        if (number == usual || followed.preemptions + cost > mostPreemptions) {
            return;
        }
        Open open = followed;
        open.departures.push_back({situation.running, step, {number, 0}});
        open.preemptions += cost;
        found.push_back(std::move(open));
    }

    const Open followed;
    unsigned mostPreemptions;
    std::vector<Open>& found;
    std::size_t next = 0;
    std::map<ThreadNumber, std::uint32_t> steps;
};

void runAll(const ExhaustivePlan& plan, Child::Report& report) {
    Recipe recipe = usualRecipe(plan.scenario);
    report.begin(0, recipe);
    measureUsual(plan.scenario);
    std::vector<Open> open(1);
    std::vector<Open> alternatives;
    for (std::uint64_t count = 0; !open.empty() && count < plan.mostSchedules; ++count) {
        const Open schedule = std::move(open.back());
        open.pop_back();
        recipe.departures = schedule.departures;
        report.begin(count, recipe);
        const Outcome outcome = runSchedule(
            recipe, [&] { return std::make_unique<Enumeration>(schedule, plan.preemptions, alternatives); });
        if (report.end(outcome)) {
            return;
        }
        open.insert(open.end(), alternatives.begin(), alternatives.end());
    }
}

} // namespace

SearchResult searchExhaustively(const ExhaustivePlan& plan) {
    Child child([&](Child::Report& report) { runAll(plan, report); });
    child.wait();
    SearchResult result;
    result.schedules = child.schedules();
    result.points = child.points();
    result.switches = child.switches();
    if (child.failure().has_value()) {
        result.failures.push_back(*child.failure());
    }
    return result;
}

} // namespace simulation
