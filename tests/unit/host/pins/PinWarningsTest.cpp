#include "host/pins/PinWarnings.h"

#include <gmock/gmock.h>

namespace host {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(PinWarnings, SoundPinOutsHaveNone) {
    EXPECT_THAT(pinWarnings({{"front", "tpiu=16,0,1,2,3;tpiu=16,4,5;pti=7,8,9"}, {"back", "pti= 0x10 ,010;x"}}, ""),
                IsEmpty());
}

TEST(PinWarnings, ANumberThatCannotBeReadIsNamedWithWhatItCountsAs) {
    EXPECT_THAT(pinWarnings({{"front", "pti=x,1;pti=2,3y"}}, ""),
                ElementsAre("pin-out front, pti=x,1: \"x\" is no pin number; the receiver reads it as 0",
                            "pin-out front, pti=2,3y: \"3y\" is no pin number; the receiver reads it as 3"));
    EXPECT_THAT(pinWarnings({{"front", "pti=08,1"}}, ""),
                ElementsAre("pin-out front, pti=08,1: \"08\" is no pin number; the receiver reads it as 0"));
}

TEST(PinWarnings, ClockAndDataOnOnePinAreNamed) {
    EXPECT_THAT(pinWarnings({{"front", "pti=0,0"}}, ""),
                ElementsAre("pin-out front, pti=0,0: pin 0 is the clock and a data pin too; the receiver grants that "
                            "all the same"));
    EXPECT_THAT(pinWarnings({{"front", "pti=0,1,2,2,2"}}, ""),
                ElementsAre("pin-out front, pti=0,1,2,2,2: pin 2 carries two data bits; the receiver grants that all "
                            "the same"));
}

TEST(PinWarnings, OfOneKindWhenThatIsAskedFor) {
    const std::vector<PinoutText> texts{{"front", "pti=0,0;tpiu=1,1"}};
    EXPECT_EQ(pinWarnings(texts, "tpiu").size(), 1U);
    EXPECT_EQ(pinWarnings(texts, "").size(), 2U);
    EXPECT_THAT(pinWarnings(texts, "tpiulite"), IsEmpty());
}

} // namespace
} // namespace host
