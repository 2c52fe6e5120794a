#include "host/session/ReceiverLog.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(ReceiverLog, ErrorsAreQuotedWithoutTimeAndSource) {
    EXPECT_THAT(host::loggedErrors("M     16:59:56:729 | MpxEcomProxy: server started, pid=13, port=55760\n"
                                   "    E 16:59:56:729 | MpxEcomProxy: server version is 2\r\n"
                                   "    E 16:59:56:730 | OrvRcvr : pin 1 | 2 failed\n"),
                ElementsAre("server version is 2", "OrvRcvr : pin 1 | 2 failed"));
}

TEST(ReceiverLog, WithoutErrorsThereIsNothingToQuote) {
    EXPECT_THAT(host::loggedErrors(""), IsEmpty());
    EXPECT_THAT(host::loggedErrors("E | cut\nM     16:59:54:992 | on Entry g_refCnt=0\n"), IsEmpty());
}

} // namespace
