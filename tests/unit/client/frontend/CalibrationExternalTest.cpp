#include "tests/unit/client/frontend/CalibrationFixture.h"

#include <memory>

// Whole calibrations of a signal that comes from elsewhere, through the transmitter that channels really get for it.

namespace client_test {
namespace {

using testing::Contains;
using testing::ElementsAre;

/// The channel that a front end makes for "external", on a clean signal of 50 MHz.
class ExternalSignal : public CalibrationTest {
protected:
    ExternalSignal() {
        channel.reset();
        own = static_cast<FrontEndChannel_1*>(frontEnd->alloc("external", nullptr, 0, 0, 0, nullptr));
        rate(50e6);
        signals();
    }
    ChannelInspector insideOwn() { return {*own}; }
    void open(const std::string& lines = {}) {
        writeText(propsPath, "[Global]\norv=unit7\n[Channel 0]\nfile=" + stem + "\npinMap=0,1,2,3,4\n" + lines);
        frontEnd->setProperty("propsFile", propsPath.c_str());
        own->setProperty("propsFile", propsPath.c_str());
        own->applySettings();
        model.clearLog();
    }
    /// The content of such a signal is unknown.
    void expectNoPattern() {
        const std::int32_t before = insideOwn().control().state;
        try {
            own->calibrate();
            FAIL() << "calibrated";
        } catch (const Exception& e) {
            EXPECT_EQ(e.status(), eSEQUENCE);
            EXPECT_STREQ(e.detail(), "no pattern programmed");
            EXPECT_STREQ(e.file(), "orv_client_transmitter");
        }
        EXPECT_EQ(insideOwn().control().state, before);
        EXPECT_EQ(insideOwn().settings().file, stem);
        EXPECT_FALSE(insideOwn().calibration().calInProgress);
        EXPECT_FALSE(insideOwn().mutex().unlock());
        EXPECT_FALSE(exists(stem + ".cache"));
    }

    FrontEndChannel_1* own; // the front end's
};

TEST_F(ExternalSignal, CannotBeCalibratedAutomaticallyForWantOfAPattern) {
    open("delays=1,2,3,4,5\n");
    LogCapture log;
    expectNoPattern();
    // It was measured and analysed, up to the step that needs to know the share of ones.
    EXPECT_THAT(insideOwn().clocking().frequencies, ElementsAre(testing::DoubleNear(50e6, 50)));
    EXPECT_EQ(insideOwn().settings().samplingPos, "edge");
    EXPECT_THAT(log.steps(), Contains("failed freq0 (5.00000e+07) : eSEQUENCE(9) : invalid sequence of calls : no "
                                      "pattern programmed"));
    EXPECT_THAT(log.steps(), Contains("freq0 dropped : not for its signal, so no other setting is tried"));
    for (const char* suffix : {".freq0.cal.txt", ".freq0.cap.txt", ".freq0.reg.txt"}) {
        EXPECT_TRUE(exists(stem + suffix)) << suffix;
    }
    EXPECT_EQ(insideOwn().cal().proc[1].delay, 2U);
    EXPECT_EQ(insideOwn().cal().proc[1].plateau, notSet);
    expectFailure([&] { own->start(true); }, eSEQUENCE, "cannot start recording until calibration completed");
}

TEST_F(ExternalSignal, TooSlowToBeAnalysedFailsAtItsProof) {
    open();
    rate(8e6);
    model.setRecorded(std::vector<std::uint8_t>(0x40000));
    model.deliverBefore(Call::Status, [](RegisterModel::Callback& callback) { callback.onStatus(0); });
    expectNoPattern();
    EXPECT_EQ(std::filesystem::file_size(stem + ".freq0.ver"), 0x40000U);
}

TEST_F(ExternalSignal, TooSlowToBeAnalysedIsCalibratedWithoutAProof) {
    open("verifyCal=false\n");
    rate(8e6);
    own->calibrate();
    EXPECT_EQ(insideOwn().control().state, Calibrated);
    EXPECT_EQ(insideOwn().cal().proc[0].delay, 31U);
}

TEST_F(ExternalSignal, IsCalibratedByHand) {
    open("calMode=manual\ndelays=1,2,3,4,5\n");
    own->calibrate();
    EXPECT_EQ(insideOwn().control().state, Calibrated);
    EXPECT_EQ(model.get(0x08008100) & 0xFF, 2U);
    EXPECT_TRUE(exists(stem + ".cache"));
}

} // namespace
} // namespace client_test
