#include "tests/unit/client/frontend/ChannelFixture.h"
#include "tests/unit/client/transmitters/XmtrLibraryMock.h"

#include <stdexcept>
#include <string>

// Steps whose order shows only when a later one fails or reads what an earlier one left.

namespace client_test {

using testing::Contains;

namespace {

class SequenceTest : public ChannelTest {};

} // namespace

TEST_F(SequenceTest, OpenAppliesThePinsBeforeItRefusesTheKindOfExport) {
    configure("pinMap=0,1,2\n");
    transmitter.properties["drmXmtr"] = "trace";
    LogCapture log;
    expectFailure([&] { channel->applySettings(); }, eCONFIG, "invalid channel type: trace");
    EXPECT_THAT(model.log(), Contains("transmitter pins=0,1,2"));
    EXPECT_THAT(log.messages(), Contains("ORV Receiver : mapped emupins=2,1 to rcvrpins=4,2,5"));
    configure("pinMap=0,6\n");
    expectFailure([&] { channel->applySettings(); }, eFAIL,
                  "receiver is not connected to one or more of the requested EMU pins, 0,6");
}

TEST_F(SequenceTest, DiagnosticFilesAreGoneBeforeTheTransmitter) {
    testing::NiceMock<transmitter_test::MockXmtrLibrary> library;
    ON_CALL(library, getTransmitterKind)
        .WillByDefault(testing::DoAll(testing::SetArgPointee<1>(1u), testing::Return(0)));
    configure("pinMap=0,1\n");
    ChannelSettings setup;
    FrontEndChannel* made = frontEnd->alloc("some CPU", &library, 0, 0, 0, &setup);
    made->setProperty("propsFile", propsPath.c_str());
    made->applySettings();
    writeText(stem + ".cal.txt", "x");
    EXPECT_CALL(library, closeChannel).WillOnce([this](unsigned) {
        EXPECT_FALSE(exists(stem + ".cal.txt")) << "the transmitter goes first";
        return 0;
    });
    frontEnd->release(made);
}

} // namespace client_test
