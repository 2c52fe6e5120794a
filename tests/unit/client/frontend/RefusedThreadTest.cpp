#include "tests/unit/client/frontend/ChannelFixture.h"
#include "tests/unit/client/frontend/RefusingPlatform.h"

namespace client_test {

using ThreadShortage = ChannelTest;

TEST_F(ThreadShortage, NoneEscapesTheThreadsBodyAndTheThreadIsDoneInTheEnd) {
    openCalibrated();
    for (const test_support::Shortage refusal : {test_support::Shortage::oneBlock, test_support::Shortage::lasting}) {
        bool refused = true;
        for (unsigned nth = 1; refused; ++nth) {
            ASSERT_LT(nth, 1000u);
            unsigned passes = 0;
            waits.hook = [&](std::uint32_t) {
                if (++passes > 50) {
                    inside().control().exitThread = true;
                }
            };
            beginRecording();
            inside().control().state = Stopped;
            refuseMemory(nth, refusal);
            EXPECT_NO_THROW(channel->run()) << nth;
            refused = memoryWasRefused();
            waits.hook = {};
            EXPECT_TRUE(status().threadDone) << nth;
            EXPECT_FALSE(inside().control().dataFile.isOpen()) << nth;
        }
    }
}

} // namespace client_test
