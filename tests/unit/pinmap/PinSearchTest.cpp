#include "common/source/source_utilities/uString.h"
#include "pinmap/PinAssignment.h"
#include "pinmap/PinSearch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace {

using namespace Vx::Qrs::Trace::OrvRcvr;
using testing::ElementsAre;
using testing::IsEmpty;

Pinouts pinoutsOf(const std::map<std::string, std::string>& values) {
    Pinouts pinouts;
    for (const auto& [name, value] : values) {
        for (const AssignmentField& field : splitAssignment(value)) {
            pinouts[name][field.kind].push_back(parsePinList(field.list));
        }
    }
    return pinouts;
}

struct Search {
    Pinouts pinouts;
    PinRequests requests;
    PinList excluded{};
    PinList required{};
    OwnerNames owners{};
    PinGrants grants{};
    std::string pinoutName = "untouched";

    bool run() { return searchPinouts(grants, pinoutName, pinouts, owners, requests, excluded, required); }
};

TEST(PinAssignment, FieldsWithOneEqualsSignCountAndOthersDoNot) {
    std::vector<std::string> found;
    for (const AssignmentField& field : splitAssignment("tpiu=1,2;none;a=b=c;pti=;=5;tpiu=3")) {
        found.push_back(field.kind + "|" + field.list);
    }
    EXPECT_THAT(found, ElementsAre("tpiu|1,2", "pti|", "|5", "tpiu|3"));
}

TEST(PinAssignment, AValueThatEndsInASemicolonHasNoEmptyField) {
    EXPECT_EQ(splitAssignment("pti=1;").size(), 1U);
    EXPECT_THAT(splitAssignment(""), IsEmpty());
}

TEST(PinAssignment, NumbersMayBeHexadecimalOrOctal) {
    EXPECT_THAT(parsePinList("0x10,010,10"), ElementsAre(16, 8, 10));
    EXPECT_THAT(parsePinList(""), IsEmpty());
    EXPECT_THROW(parsePinList("1,,2"), VX_QRS::uString::error);
}

TEST(PinAssignment, AListIsWrittenInDecimal) {
    EXPECT_EQ(formatPinList({16, 0, 4}), "16,0,4");
    EXPECT_EQ(formatPinList({}), "");
}

TEST(PinSearch, AListOfOneNumberServesOnlyARequestWithoutDataPins) {
    for (const std::uint32_t dataPins : {0U, 1U}) {
        Search search{pinoutsOf({{"p", "pti=3"}}), {{"c", {"pti", dataPins, false}}}};
        EXPECT_EQ(search.run(), dataPins == 0);
    }
}

TEST(PinSearch, AnExactFitIsTakenThoughALargerOneComesFirst) {
    Search search{pinoutsOf({{"p", "pti=2,3,4,5,6,7;pti=2,3,4,5,6"}}), {{"c", {"pti", 4, false}}}};
    ASSERT_TRUE(search.run());
    EXPECT_THAT(search.grants["c"].pins, ElementsAre(2, 3, 4, 5, 6));
}

TEST(PinSearch, ALargerListIsTakenOnlyByARequestThatAllowsIt) {
    for (const bool exact : {true, false}) {
        Search search{pinoutsOf({{"p", "pti=2,3,4,5"}}), {{"c", {"pti", 2, exact}}}};
        EXPECT_EQ(search.run(), !exact);
    }
}

TEST(PinSearch, PinsZeroAndOneAreGivenAwayLast) {
    Search spared{pinoutsOf({{"a", "pti=0,1"}, {"b", "pti=0,2"}, {"c", "pti=1,2"}, {"d", "pti=2,3"}}),
                  {{"c", {"pti", 1, true}}}};
    ASSERT_TRUE(spared.run());
    EXPECT_EQ(spared.pinoutName, "d");

    // The first list of spared pins excludes pin 1, the second does not.
    Search withOne{pinoutsOf({{"a", "pti=0,1"}, {"b", "pti=0,2"}, {"c", "pti=1,2"}}), {{"c", {"pti", 1, true}}}};
    ASSERT_TRUE(withOne.run());
    EXPECT_EQ(withOne.pinoutName, "c");

    Search withZero{pinoutsOf({{"a", "pti=0,1"}, {"b", "pti=0,2"}}), {{"c", {"pti", 1, true}}}};
    ASSERT_TRUE(withZero.run());
    EXPECT_EQ(withZero.pinoutName, "b");

    Search withBoth{pinoutsOf({{"a", "pti=0,1"}}), {{"c", {"pti", 1, true}}}};
    ASSERT_TRUE(withBoth.run());
    EXPECT_EQ(withBoth.pinoutName, "a");
}

TEST(PinSearch, AnExactFitOnPinsZeroAndOnePrecedesALargerOneElsewhere) {
    Search search{pinoutsOf({{"a", "pti=2,3,4"}, {"b", "pti=0,1"}}), {{"c", {"pti", 1, false}}}};
    ASSERT_TRUE(search.run());
    EXPECT_EQ(search.pinoutName, "b");
}

TEST(PinSearch, TwoEqualRequestsGetDisjointLists) {
    Search search{pinoutsOf({{"p", "pti=2,3;pti=3,4;pti=4,5"}}), {{"x", {"pti", 1, true}}, {"y", {"pti", 1, true}}}};
    ASSERT_TRUE(search.run());
    EXPECT_THAT(search.grants["x"].pins, ElementsAre(2, 3));
    EXPECT_THAT(search.grants["y"].pins, ElementsAre(4, 5));
}

TEST(PinSearch, APinoutWithoutDisjointListsIsGivenUp) {
    Search search{pinoutsOf({{"p", "pti=2,3;pti=3,4"}}), {{"x", {"pti", 1, true}}, {"y", {"pti", 1, true}}}};
    EXPECT_FALSE(search.run());
    EXPECT_EQ(search.pinoutName, "untouched");
    EXPECT_EQ(search.grants.size(), 1U); // the grants of the last attempt

    search.pinouts["q"] = pinoutsOf({{"q", "pti=2,3;pti=4,5"}})["q"];
    EXPECT_TRUE(search.run());
    EXPECT_EQ(search.pinoutName, "q");
}

TEST(PinSearch, TheLargestRequestIsPlacedFirst) {
    // In the order of names "a" would get the pins that "b" needs.
    Search search{pinoutsOf({{"p", "pti=2,3;pti=6,7;pti=2,3,4,5"}}),
                  {{"a", {"pti", 1, true}}, {"b", {"pti", 3, true}}}};
    ASSERT_TRUE(search.run());
    EXPECT_THAT(search.grants["b"].pins, ElementsAre(2, 3, 4, 5));
    EXPECT_THAT(search.grants["a"].pins, ElementsAre(6, 7));
}

TEST(PinSearch, ExcludedPinsAreNotUsedAndOnlyRequiredOnesAre) {
    const Pinouts pinouts = pinoutsOf({{"p", "pti=2,3;pti=4,5;pti=100,101"}});
    Search excluding{pinouts, {{"c", {"pti", 1, true}}}, {3, 4}};
    ASSERT_TRUE(excluding.run());
    EXPECT_THAT(excluding.grants["c"].pins, ElementsAre(100, 101));

    Search large{pinouts, {{"c", {"pti", 1, true}}}, {2, 4, 101}};
    EXPECT_FALSE(large.run());

    Search requiring{pinouts, {{"c", {"pti", 1, true}}}, {}, {5, 4}};
    ASSERT_TRUE(requiring.run());
    EXPECT_THAT(requiring.grants["c"].pins, ElementsAre(4, 5));
}

TEST(PinSearch, NoRequestsSucceedAtOnceWithTheFirstPinout) {
    Search search{pinoutsOf({{"b", "pti=1,2"}, {"a", "pti=1,2"}}), {}};
    ASSERT_TRUE(search.run());
    EXPECT_EQ(search.pinoutName, "a");
    EXPECT_THAT(search.grants, IsEmpty());

    Search nothing{{}, {}};
    EXPECT_FALSE(nothing.run());
}

TEST(PinSearch, KindsCompareExactly) {
    Search search{pinoutsOf({{"p", "tpiu=2,3"}}), {{"c", {"tpiulite", 1, true}}}};
    EXPECT_FALSE(search.run());
}

TEST(PinSearch, AGrantCarriesTheOwnerAndEntersAnUnknownKind) {
    Search search{pinoutsOf({{"p", "pti=2,3"}}), {{"c", {"pti", 1, true}}}};
    search.owners["pti"] = "STM";
    ASSERT_TRUE(search.run());
    EXPECT_EQ(search.grants["c"].owner, "STM");

    Search unknown{pinoutsOf({{"p", "pti=2,3"}}), {{"c", {"pti", 1, true}}}};
    ASSERT_TRUE(unknown.run());
    EXPECT_EQ(unknown.owners.count("pti"), 1U);
}

TEST(TryPinout, TakesTheFirstListOfOneRequestOrNothing) {
    const Pinouts pinouts = pinoutsOf({{"p", "pti=2,3;pti=4,5"}});
    OwnerNames owners;
    PinGrant grant{{9}, "before"};
    EXPECT_FALSE(tryPinout(grant, pinouts, owners, "q", {"pti", 1, true}, {}, {}));
    EXPECT_FALSE(tryPinout(grant, pinouts, owners, "p", {"pti", 2, true}, {}, {}));
    EXPECT_THAT(grant.pins, ElementsAre(9));
    EXPECT_TRUE(tryPinout(grant, pinouts, owners, "p", {"pti", 1, true}, {2}, {4, 5}));
    EXPECT_THAT(grant.pins, ElementsAre(4, 5));
    // At least that many: no more are needed.
    EXPECT_TRUE(tryPinout(grant, pinouts, owners, "p", {"pti", 1, false}, {}, {}));
    EXPECT_THAT(grant.pins, ElementsAre(2, 3));
    EXPECT_TRUE(tryPinout(grant, pinouts, owners, "p", {"pti", 0, false}, {2}, {}));
    EXPECT_THAT(grant.pins, ElementsAre(4, 5));
    EXPECT_FALSE(tryPinout(grant, pinouts, owners, "p", {"pti", 2, false}, {}, {}));
}

TEST(PinSearch, GrantsOfEarlierSearchesAndPinoutsAreForgotten) {
    Search search{pinoutsOf({{"p", "pti=2,3"}, {"q", "pti=2,3,4;tpiu=4,5"}, {"r", "pti=6,7,8,9"}}),
                  {{"a", {"pti", 2, true}}, {"b", {"tpiu", 2, true}}}};
    search.grants["old"] = {{9}, "before"};
    EXPECT_FALSE(search.run());
    // The last pin-out tried grants neither.
    EXPECT_THAT(search.grants, IsEmpty());
    search.requests["b"].dataPins = 1;
    search.pinouts["q"]["tpiu"][0] = {5, 6};
    EXPECT_TRUE(search.run());
    EXPECT_EQ(search.grants.size(), 2U);
    EXPECT_EQ(search.pinoutName, "q");
}

// A simple second implementation of the search, for comparison.
bool plainSearch(PinGrants& grants, std::string& name, const Pinouts& pinouts, const PinRequests& requests,
                 const PinList& excluded, const PinList& required) {
    std::vector<std::string> order;
    for (const auto& [requestName, request] : requests) {
        auto place = order.begin();
        while (place != order.end() && requests.at(*place).dataPins >= request.dataPins) {
            ++place;
        }
        order.insert(place, requestName);
    }
    const auto holds = [](const PinList& list, std::uint32_t pin) {
        return std::find(list.begin(), list.end(), pin) != list.end();
    };
    for (int pass = 0; pass < 2; ++pass) {
        for (const PinList& extra : {PinList{0, 1}, PinList{0}, PinList{1}, PinList{}}) {
            for (const auto& [pinoutName, pinout] : pinouts) {
                grants.clear();
                PinList used = excluded;
                used.insert(used.end(), extra.begin(), extra.end());
                bool all = true;
                for (const std::string& requestName : order) {
                    const PinRequest& request = requests.at(requestName);
                    const bool exact = pass == 0 || request.exact;
                    const PinList* chosen = nullptr;
                    for (const auto& [kind, lists] : pinout) {
                        for (const PinList& list : lists) {
                            const std::size_t data = list.size() - 1;
                            bool fits = chosen == nullptr && kind == request.kind &&
                                        (exact ? data == request.dataPins : data >= request.dataPins);
                            for (const std::uint32_t pin : list) {
                                fits = fits && !holds(used, pin) && (required.empty() || holds(required, pin));
                            }
                            if (fits) {
                                chosen = &list;
                            }
                        }
                    }
                    if (chosen == nullptr) {
                        all = false;
                        break;
                    }
                    used.insert(used.end(), chosen->begin(), chosen->end());
                    grants[requestName].pins = *chosen;
                }
                if (all) {
                    name = pinoutName;
                    return true;
                }
            }
        }
    }
    return false;
}

TEST(PinSearch, AgreesWithThePlainSearchOnRandomDevices) {
    std::mt19937 random(20260101);
    const auto below = [&](std::uint32_t limit) {
        return std::uniform_int_distribution<std::uint32_t>(0, limit - 1)(random);
    };
    const std::vector<std::string> kinds{"dsp", "pti", "tpiu"};
    int found = 0;
    for (int round = 0; round < 3000; ++round) {
        Search search;
        for (std::uint32_t i = below(4); i != 0; --i) {
            Pinout& pinout = search.pinouts["pinout" + std::to_string(i)];
            for (std::uint32_t lists = 1 + below(6); lists != 0; --lists) {
                PinList list;
                for (std::uint32_t pins = 1 + below(4); pins != 0; --pins) {
                    list.push_back(below(8) + (below(10) == 0 ? 60 : 0));
                }
                pinout[kinds[below(3)]].push_back(list);
            }
        }
        for (std::uint32_t i = below(4); i != 0; --i) {
            search.requests["request" + std::to_string(below(5))] = {kinds[below(3)], below(4), below(2) == 0};
        }
        for (std::uint32_t i = below(2); i != 0; --i) {
            search.excluded.push_back(below(70));
        }
        if (below(3) == 0) {
            search.required = {0, 1, 2, 3, 4, 5, 63, 64};
        }

        PinGrants expected;
        std::string expectedName = "untouched";
        const bool expectedResult =
            plainSearch(expected, expectedName, search.pinouts, search.requests, search.excluded, search.required);
        ASSERT_EQ(search.run(), expectedResult) << round;
        ASSERT_EQ(search.pinoutName, expectedName) << round;
        ASSERT_EQ(search.grants.size(), expected.size()) << round;
        for (const auto& [name, grant] : expected) {
            ASSERT_EQ(search.grants[name].pins, grant.pins) << round;
        }
        found += expectedResult ? 1 : 0;
    }
    EXPECT_GT(found, 300);
    EXPECT_LT(found, 2700);
}

} // namespace
