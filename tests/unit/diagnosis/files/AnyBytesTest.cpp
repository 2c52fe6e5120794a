#include "diagnosis/analysis/BurstAnalysis.h"
#include "diagnosis/analysis/LaneMatch.h"
#include "diagnosis/files/CalFile.h"
#include "diagnosis/files/PropertiesFile.h"
#include "diagnosis/files/RegisterFile.h"
#include "diagnosis/files/RunLog.h"
#include "diagnosis/files/Verification.h"
#include "tests/unit/diagnosis/files/DrawnFiles.h"
#include "toolkit/ExitCode.h"

#include <gtest/gtest.h>

#include <random>

// Whatever the bytes, a reader gives a result or a Failure of a damaged input that names the file; and what can be
// computed on a result can be computed on every result.

namespace diagnosis {
namespace {

constexpr unsigned rounds = 3000;

using Random = std::mt19937;

std::string randomBytes(Random& random, std::size_t most) {
    std::string bytes(random() % (most + 1), '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(random() & 0xFF);
    }
    return bytes;
}

/// A file with a few bytes changed, taken out, or doubled.
std::string mutated(std::string text, Random& random) {
    const std::size_t changes = 1 + random() % 4;
    for (std::size_t i = 0; i < changes && !text.empty(); ++i) {
        const std::size_t at = random() % text.size();
        switch (random() % 5) {
        case 0:
            text[at] = static_cast<char>(random() & 0xFF);
            break;
        case 1:
            text.erase(at, 1 + random() % 20);
            break;
        case 2:
            text.insert(at, text.substr(random() % text.size(), random() % 40));
            break;
        case 3:
            text[at] = "0123456789-=.,[] \n"[random() % 18];
            break;
        default:
            text.resize(at);
        }
    }
    return text;
}

unsigned sound = 0;
unsigned damagedFiles = 0;

template <class Work>
void survives(const std::string& text, const Work& work) {
    try {
        work(text);
        ++sound;
    } catch (const toolkit::Failure& failure) {
        ++damagedFiles;
        EXPECT_EQ(failure.code, toolkit::ExitCode::BadInput);
        EXPECT_TRUE(std::string(failure.what()).starts_with("any.txt")) << failure.what();
    }
}

template <class Work>
void survivesAll(const std::string& good, const Work& work) {
    Random random(20240607);
    sound = 0;
    damagedFiles = 0;
    for (unsigned i = 0; i < rounds; ++i) {
        survives(randomBytes(random, 600), work);
        survives(mutated(good, random), work);
    }
    survives(std::string(), work);
    survives(good, work);
    EXPECT_GT(sound, 0U) << "mutations never left a sound file: nothing after the reader was tried";
}

void analyse(const Burst& burst) {
    for (std::size_t proc = 0; proc < burst.pins.size(); ++proc) {
        marginsOf(burst, proc);
        foldEye(burst, proc);
        dutyOf(burst, proc);
        stuckLevel(burst, proc);
        concentrationAtClock(burst, proc);
        concentrationAtPin(burst, 0, proc);
        medianInterval(burst, proc);
    }
    votePosition(burst);
    findMarginFailure(burst, 1);
    EXPECT_GT(burst.rates.sampleRate(), 0.0);
}

TEST(AnyBytes, CalibrationReportsNeverCrashTheReader) {
    survivesAll(drawn::report({{6, 5}, {3, 4}}), [](const std::string& text) { parseCalFile(text, "any.txt"); });
    EXPECT_GT(damagedFiles, rounds);
}

TEST(AnyBytes, LogsNeverCrashTheReader) {
    const std::string good =
        "M     15:49:36:349 | ORV Receiver : loading settings from /lab/board.xml\n"
        "M     15:49:36:400 | ORV Receiver (unit:146) setting 0 not used : eXMTR:(11) : transmitter failure\n"
        "M     15:49:36:576 | ORV Receiver (unit:184) failed freq1 (5.00000e+07) : eCALIBRATE(12) : no\n"
        "    E 15:49:36:580 | ORV Receiver : SetConfiguration std exception : eXMTR:(11) : transmitter failure : x\n";
    std::size_t failures = 0;
    survivesAll(good,
                [&](const std::string& text) { failures += !parseRunLog(text, true).transmitterFailure().empty(); });
    EXPECT_GT(failures, 0U);
    EXPECT_EQ(damagedFiles, 0U) << "any text is a log";
}

TEST(AnyBytes, BurstsNeverCrashReaderOrAnalysis) {
    const std::string good = drawn::burst({drawn::square(200, 14, 3), drawn::square(200, 14, 10)});
    survivesAll(good, [](const std::string& text) { analyse(parseBurst(text, "any.txt")); });
    EXPECT_GT(damagedFiles, rounds);
}

TEST(AnyBytes, BurstsOfAnyRatesCanBeAnalysed) {
    for (const char* clock : {"0.00 yHz", "9.99 YHz", "50.00 MHz", "0.01 yHz"}) {
        for (const char* oversampling : {"0.00 y", "0.01 ", "1.99 ", "28.00 ", "4.00 k", "999.00 M"}) {
            for (const std::size_t half : {1U, 2U, 14U}) {
                const std::string text = drawn::burst({drawn::square(100, half, 1), drawn::square(100, half, 2)},
                                                      drawn::head(clock, oversampling));
                analyse(parseBurst(text, "any.txt"));
            }
        }
    }
}

TEST(AnyBytes, RegisterDumpsNeverCrashTheReader) {
    survivesAll("\n0x08000000=0x0000\n0x0800811e=0x841f\n0x08008100=0x8602\n", [](const std::string& text) {
        const RegisterDump dump = parseRegisters(text, "any.txt");
        for (const RegisterValue& entry : dump) {
            EXPECT_FALSE(
                describe(entry, channelOf(dump), [](std::size_t proc) { return std::to_string(proc); }).name.empty());
        }
        pinRegisters(dump, channelOf(dump), 1);
    });
}

TEST(AnyBytes, PropertiesNeverCrashTheReader) {
    survivesAll("[Global]\norv=a,b\n[Channel 0]\npinMap=0,1\n",
                [](const std::string& text) { parseProperties(text, "any.txt").value("pinMap"); });
}

TEST(AnyBytes, VerificationRecordingsNeverCrashReaderCheckOrMatch) {
    Random random(7);
    const std::string good = drawn::packets([](std::size_t i) { return drawn::framedWord(drawn::ramp, i); }, 6);
    for (unsigned i = 0; i < 60; ++i) {
        for (const std::string& bytes : {randomBytes(random, 3000), mutated(good, random)}) {
            const Verification recording = parseVerification(bytes);
            for (std::size_t dataPins = 0; dataPins <= 7; ++dataPins) {
                patternHeld(recording, dataPins);
                matchLanes(recording, dataPins);
            }
        }
    }
}

} // namespace
} // namespace diagnosis
