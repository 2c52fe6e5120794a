#include "tests/unit/client/frontend/ChannelFixture.h"

#include <string>
#include <vector>

// A channel keeps to the registers of its own number.

namespace client_test {

using testing::Contains;
using testing::ElementsAre;

namespace {

class NumberThree : public ChannelTest {
protected:
    NumberThree() {
        for (int i = 0; i < 3; ++i) {
            frontEnd->alloc("external", nullptr, 0, 0, 0, nullptr);
        }
        remakeChannel();
        writeText(propsPath, "[Global]\norv=unit7\n[Channel 3]\nfile=" + stem + "\npinMap=0,1\n");
        frontEnd->setProperty("propsFile", propsPath.c_str());
        channel->setProperty("propsFile", propsPath.c_str());
        channel->applySettings();
        model.clearLog();
    }
};

const std::string dumpOfThree =
    "read 08000000 08000008 0800000c 0800000e 08008036 08008046 08008056"
    " 080081de 080081c0 080081c2 080081c4 080081c6 080081c8 080081ca 080081cc"
    " 080081fe 080081e0 080081e2 080081e4 080081e6 080081e8 080081ea 080081ec"
    " 08008140 08008142 08008144 08008146 08008148 0800814a 0800814c 0800814e 08008150 08008152"
    " 08008158 0800815a 0800815c 0800815e"
    " 08001000 08001002 08001004 08001006 08001008 0800100c 08001010 08001012 08001014"
    " 08001080 08001082 08001084 08001086 08001088";

} // namespace

TEST_F(NumberThree, IsItsOwnAndDoesNotConnect) {
    EXPECT_EQ(channel->getChannelNumber(), 3u);
    channel->applySettings();
    EXPECT_THAT(model.log(), ElementsAre("close", "transmitter applySettings", "transmitter pins=0,1"));
}

TEST_F(NumberThree, RecordsWithItsOwnRegisters) {
    inside().internalStart(0x40000, "stop", "none",
                           {.prepare = true, .enableTransmitter = false, .bypassProtocol = false});
    EXPECT_THAT(model.log(),
                ElementsAre("close", "open 262144 0", "cancel", "flush", "read 080081de", "write 080081de=0000",
                            "read 08008056", "write 08008056=0000", "read 08008066", "read 2:01c70404",
                            "write 08008016=c000 08008026=800f", "start", "write 08008046=0003", "write 08008056=0001",
                            "write 0800801e=0000", "write 080081de=8000", dumpOfThree));
}

TEST_F(NumberThree, IsCalibratedWithItsOwnRegistersAndTheFifosOfTheUnit) {
    inside().measureFreq();
    EXPECT_THAT(model.log(), ElementsAre("write 080080ec=4240 080080ee=000f", "read 080080fc 080080fe"));
    model.clearLog();
    inside().readOvsError();
    EXPECT_THAT(model.log(), ElementsAre("read 08008016 08008026"));
    model.clearLog();
    Cal cal;
    inside().readCal(cal);
    EXPECT_THAT(model.log(), ElementsAre("read 080081de 080081fe 080081c0 080081e0"));
    model.clearLog();
    inside().captureOvs();
    EXPECT_EQ(model.log().front(), "read 0800820c 08008214");
}

} // namespace client_test
