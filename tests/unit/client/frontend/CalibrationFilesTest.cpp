#include "tests/unit/client/analysis/Bursts.h"
#include "tests/unit/client/frontend/ChannelFixture.h"

#include <cmath>

// The diagnostic files, byte for byte, line ends apart: those are the platform's.

namespace client_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::Return;

class DiagnosticFiles : public ChannelTest {
protected:
    std::string text(const std::string& suffix) {
        std::string content = readText(stem + suffix);
        std::erase(content, '\r');
        return content;
    }
    void openTwoPins(const std::string& more = {}) {
        configure("pinMap=0,1\n" + more);
        channel->applySettings();
        model.clearLog();
    }
    /// What a calibration at 100 MHz could have left.
    void fillIn() {
        measure(100000000);
        cal.reset();
        for (const std::uint32_t p : {0U, 1U}) {
            cal.proc[p].rcvrpin = 4 + p;
            cal.proc[p].enable = 1;
        }
        cal.proc[0].delay = 9;
        cal.proc[1].stretch = -2;
        cal.proc[1].plateau = 7;
        metrics.proc[1].marginBefore = 3;
        metrics.proc[1].marginAfter = 4;
        metrics.proc[1].correlation[31 - 2] = 0.25;
        metrics.proc[1].correlation[31 + 2] = 0.875;
        metrics.proc[1].correlationAtZero = -0.0625;
    }

    Cal cal;
    Metrics metrics;
};

const std::string metricsOf100MHz = "exportFrequency=100.00 MHz\n"
                                    "dataFrequency=200.00 Mwords/second\n"
                                    "dataRate=200.00 Mbits/second\n"
                                    "oversampling=14.00 samples/bit\n";

TEST_F(DiagnosticFiles, TheReportOfACalibrationReadsAsItAlwaysDid) {
    openTwoPins();
    transmitter.properties["xmtrType"] = "stm";
    fillIn();
    inside().logCal(metrics, cal);
    EXPECT_EQ(text(".cal.txt"), metricsOf100MHz + "\n"
                                                  "[Clock]\n"
                                                  "edges=0\n"
                                                  "\n"
                                                  "[Data 1]\n"
                                                  "correlation=0.250,-0.062\n" // opposite of the peak, and at zero
                                                  "edges=0\n"
                                                  "margin=-3,+4\n"
                                                  "\n"
                                                  "[Properties]\n"
                                                  "drmXmtr=pti\n"
                                                  "xmtrType=stm\n"
                                                  "numPins=1\n"
                                                  "delays=9,0\n"
                                                  "stretches=0,-2\n"
                                                  "filters=7,7\n"
                                                  "debounces=4,4\n"
                                                  "plateaus=3,7\n"
                                                  "\n");
}

TEST_F(DiagnosticFiles, TheReportWithTheClockStrategyHasNoCorrelations) {
    openTwoPins("deskewStrategy=clock\n");
    fillIn();
    metrics.proc[0].ringing = 3;
    metrics.proc[1].glitches = 2;
    metrics.proc[1].edges = 7;
    metrics.proc[1].marginAfter = notSet;
    inside().logCal(metrics, cal);
    EXPECT_THAT(text(".cal.txt"), HasSubstr("[Clock]\nringing=3\nedges=0\n\n"
                                            "[Data 1]\nglitches=2\nedges=7\nmargin=-3,+2147483647\n\n"
                                            "[Properties]\n"));
}

TEST_F(DiagnosticFiles, TheReportOfSevenDataPinsListsEightValues) {
    configure("numPins=7\n");
    channel->applySettings();
    cal.reset();
    for (std::uint32_t p = 0; p < 8; ++p) {
        cal.proc[p].delay = p;
    }
    inside().logCal(metrics, cal);
    EXPECT_THAT(text(".cal.txt"), HasSubstr("\nnumPins=7\ndelays=0,1,2,3,4,5,6,7\nstretches=0,0,0,0,0,0,0,0\n"));
}

TEST_F(DiagnosticFiles, TheReportOfAManualCalibrationHasItsMarginsAndNoEdges) {
    openTwoPins("calMode=manual\n");
    measure(50000000);
    bursts::OwnedBurst burst(2, 512);
    burst.square(0, 20, 14);
    burst.square(1, 27, 14);
    model.setBurst(0, burst.pins[0]);
    model.setBurst(1, burst.pins[1]);
    channel->calibrate();
    EXPECT_THAT(text(".cal.txt"), HasSubstr("[Data 1]\ncorrelation=0.000,1.000\nedges=0\nmargin=-8,+7\n"));
}

TEST_F(DiagnosticFiles, TheBurstIsListedSampleBySample) {
    openTwoPins();
    bursts::OwnedBurst burst(2, 512);
    burst.draw(0, "0110");
    burst.draw(1, "1", 8191);
    model.setBurst(0, burst.pins[0]);
    model.setBurst(1, burst.pins[1]);
    fillIn(); // takes the burst
    inside().logOvs(cal);
    const std::string head = metricsOf100MHz +
                             "P0 : rcvrpin=4,filter=7,plateau=3,debounce=4,delay=9,stretch=0,enable=1\n"
                             "P1 : rcvrpin=5,filter=7,plateau=7,debounce=4,delay=0,stretch=-2,enable=1\n"
                             "P0 P1 Sample\n"
                             " 0  0    0\n"
                             " 1  0    1\n"
                             " 1  0    2\n"
                             " 0  0    3\n";
    const std::string found = text(".cap.txt");
    EXPECT_EQ(found.substr(0, head.size()), head);
    EXPECT_THAT(found, testing::EndsWith(" 0  0 8190\n 0  1 8191\n"));
    EXPECT_EQ(std::count(found.begin(), found.end(), '\n'), 4 + 2 + 1 + 8192);
}

TEST_F(DiagnosticFiles, TheBurstTakesTheSuffixItIsGiven) {
    openTwoPins();
    inside().logOvs(cal, ".err.cap.txt");
    EXPECT_TRUE(exists(stem + ".err.cap.txt"));
    EXPECT_FALSE(exists(stem + ".cap.txt"));
    EXPECT_THAT(text(".err.cap.txt"),
                HasSubstr("P0 : rcvrpin=0,filter=2147483647,plateau=2147483647,debounce=2147483647,"
                          "delay=2147483647,stretch=2147483647,enable=0\n"));
}

TEST_F(DiagnosticFiles, RatesThatWereNeverMeasuredHaveTheLeastPrefix) {
    openTwoPins();
    std::string header = "left over";
    inside().formatMetrics(header);
    EXPECT_EQ(header, "exportFrequency=0.00 yHz\ndataFrequency=0.00 ywords/second\ndataRate=0.00 ybits/second\n"
                      "oversampling=0.00 ysamples/bit\n");
    inside().clocking().exportFrequency = std::nan("");
    inside().formatMetrics(header);
    EXPECT_THAT(header, testing::ContainsRegex("^exportFrequency=-?nan yHz\n"));
}

TEST_F(DiagnosticFiles, TheRegisterDumpHasItsRegistersInOrder) {
    openTwoPins();
    model.set(0x08000000, 0x1234);
    model.set(0x08001088, 0xABCD);
    inside().logRegs();
    EXPECT_THAT(model.log(), ElementsAre(registerDumpLine));
    const std::string dump = text(".reg.txt");
    EXPECT_THAT(dump, testing::StartsWith("\n0x08000000=0x1234\n0x08000008=0x0000\n0x0800000c=0x0000\n"
                                          "0x0800000e=0x0000\n0x08008030=0x0000\n"));
    EXPECT_THAT(dump, testing::EndsWith("\n0x08001086=0x0000\n0x08001088=0xabcd\n"));
    EXPECT_EQ(std::count(dump.begin(), dump.end(), '\n'), 52);
}

TEST_F(DiagnosticFiles, ThatCannotBeOpenedFailWithTheirPath) {
    openTwoPins();
    for (const char* suffix : {".cap.txt", ".reg.txt", ".cal.txt"}) {
        std::filesystem::create_directory(stem + suffix);
    }
    expectFailure([&] { inside().logOvs(cal); }, eFILE, stem + ".cap.txt");
    expectFailure([&] { inside().logRegs(); }, eFILE, stem + ".reg.txt");
    expectFailure([&] { inside().logCal(metrics, cal); }, eFILE, stem + ".cal.txt");
}

TEST_F(DiagnosticFiles, ThatCannotBeWrittenCompletelyFail) {
    if (!exists("/dev/full")) {
        GTEST_SKIP() << "this system has no device that is always full";
    }
    openTwoPins();
    for (const char* suffix : {".cap.txt", ".reg.txt", ".cal.txt"}) {
        std::filesystem::create_symlink("/dev/full", stem + suffix);
    }
    expectFailure([&] { inside().logOvs(cal); }, eFILE, stem + ".cap.txt");
    expectFailure([&] { inside().logRegs(); }, eFILE, stem + ".reg.txt");
    expectFailure([&] { inside().logCal(metrics, cal); }, eFAIL, "logging metrics");
    std::filesystem::create_symlink("/dev/full", stem + ".cache");
    channel->setProperty("calMode", "manual"); // which deletes the other three first
    expectFailure([&] { channel->calibrate(); }, eFILE, stem + ".cache");
}

TEST_F(DiagnosticFiles, AreDeletedForEveryStemInUseButForTheLastOnes) {
    openTwoPins();
    const std::vector<std::string> deleted{".bin", ".ver", ".cap.txt", ".reg.txt", ".cal.txt", ".trg.txt"};
    const std::vector<std::string> kept{".err.cap.txt", ".cache", ".freq3.bin"};
    auto& stems = inside().session().diagnosticStems;
    stems = {stem + ".freq1", stem + ".freq2"};
    for (const std::string& of : {stem, stem + ".freq1", stem + ".freq2"}) {
        for (const std::string& suffix : deleted) {
            writeText(of + suffix, "x");
        }
        for (const std::string& suffix : kept) {
            writeText(of + suffix, "x");
        }
    }
    inside().deleteDiagnosticFiles();
    for (const std::string& of : {stem, stem + ".freq1", stem + ".freq2"}) {
        for (const std::string& suffix : deleted) {
            EXPECT_FALSE(exists(of + suffix)) << of << suffix;
        }
        for (const std::string& suffix : kept) {
            EXPECT_TRUE(exists(of + suffix)) << of << suffix;
        }
    }
    EXPECT_THAT(stems, IsEmpty());
    inside().deleteDiagnosticFiles(); // nothing there is no error
}

TEST_F(DiagnosticFiles, ThatCannotBeDeletedAreLeftSilently) {
    openTwoPins();
    std::filesystem::create_directory(stem + ".cap.txt");
    writeText(stem + ".cap.txt/held", "x");
    inside().deleteDiagnosticFiles();
    EXPECT_TRUE(exists(stem + ".cap.txt"));
}

TEST_F(DiagnosticFiles, ATriggerFileStopsARecordingAndNothingElse) {
    openTwoPins();
    writeText(stem + ".trg.txt", "");
    inside().checkTriggerFile();
    EXPECT_EQ(state(), Uncalibrated);
    std::filesystem::remove(stem + ".trg.txt");
    beginRecording();
    inside().checkTriggerFile();
    EXPECT_EQ(state(), Recording);
    writeText(stem + ".trg.txt", "");
    inside().checkTriggerFile();
    EXPECT_EQ(state(), Stopped);
    EXPECT_TRUE(exists(stem + ".trg.txt"));
}

TEST_F(DiagnosticFiles, TheReportsCorrelationIsThePeakItselfAtLagZero) {
    openTwoPins();
    ProcMetrics p;
    p.correlation[31] = 0.9996;
    p.correlationAtZero = 1.0;
    std::string found = "left over";
    inside().correlationString(p, found);
    EXPECT_EQ(found, "1.000,1.000");
}

TEST_F(DiagnosticFiles, TheReportsCorrelationLooksAsFarAsTheLastLag) {
    openTwoPins();
    ProcMetrics p;
    p.correlation[0] = 0.5; // lag -31
    p.correlation[62] = 0.25;
    std::string found;
    inside().correlationString(p, found);
    EXPECT_EQ(found, "0.250,0.000");
}

TEST_F(DiagnosticFiles, ReplaceThoseOfTheSameName) {
    openTwoPins();
    for (const char* suffix : {".cap.txt", ".reg.txt", ".cal.txt"}) {
        writeText(stem + suffix, "left over");
    }
    inside().logOvs(cal);
    inside().logRegs();
    inside().logCal(metrics, cal);
    for (const char* suffix : {".cap.txt", ".reg.txt", ".cal.txt"}) {
        EXPECT_THAT(text(suffix), Not(HasSubstr("left over"))) << suffix;
    }
}

} // namespace
} // namespace client_test
