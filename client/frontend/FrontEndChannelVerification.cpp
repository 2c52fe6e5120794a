#include "client/Pattern.h"
#include "client/frontend/ChannelLog.h"
#include "client/frontend/FrontEndChannel_1.h"
#include "common/source/Exception.h"
#include "common/source/source_utilities/uLog.h"
#include "rcvr/framework/TraceLimits.h"

#include <string>

// The verification of a calibration: a short recording of a known pattern.

namespace VX_QRS::ORV::CLIENT {

namespace {

constexpr std::uint32_t verificationBytes = 0x40000;
using Vx::Qrs::Trace::limits::leastVerifiedWords;
using Vx::Qrs::Trace::limits::payloadWords;
using Vx::Qrs::Trace::limits::verificationPackets;

constexpr std::uint32_t passesAllowed = 100; ///< of the control loop

} // namespace

void FrontEndChannel_1::verifyCal() {
    logEntry(frontEndUnit, "VX_QRS::ORV::CLIENT::FrontEndChannel_1::verifyCal");
    if (settings.drmXmtr == "tpiu") {
        // This export has to run before the capture side is set up.
        settings.verifyPattern = "f0";
        internalStart(verificationBytes, "stop", settings.verifyPattern.c_str(),
                      {.prepare = false, .enableTransmitter = true, .bypassProtocol = true});
        internalStart(verificationBytes, "stop", settings.verifyPattern.c_str(),
                      {.prepare = true, .enableTransmitter = false, .bypassProtocol = true});
    } else {
        internalStart(verificationBytes, "stop", settings.verifyPattern.c_str(),
                      {.prepare = true, .enableTransmitter = true, .bypassProtocol = false});
    }
    const std::string path = stem() + ".ver";
    control.dataFile = OutputFile(path, OutputFile::Mode::binary);
    if (!control.dataFile.isOpen()) {
        fail(frontEndUnit, eFILE, path);
    }
    logStep(here(), "opened data file %s", path.c_str());
    control.verifyTimeoutTicks = passesAllowed;
    try {
        controlLoop();
        if (!control.threadLives) {
            control.threadDone = true;
        }
        if (control.hasError) {
            fail(frontEndUnit, eCALIBRATE, control.errorText);
        }
        Pattern* pattern = transmitter->getPattern();
        std::uint32_t tracePackets = 0;
        std::uint32_t otherPackets = 0;
        std::uint32_t dataWords = 0;
        std::uint32_t syncWords = 0;
        std::uint32_t zeroWords = 0;
        if (settings.drmXmtr == "tpiu") {
            logStep(here(), "skipping pattern verification for TPIU");
        } else {
            try {
                verifyPatternFile(*pattern, path.c_str(), 0, verificationPackets, tracePackets, otherPackets, dataWords,
                                  syncWords, zeroWords);
            } catch (const Exception& e) {
                logStep(here(), "%s", e.what());
                if (e.status() == eVALUE) {
                    fail(frontEndUnit, eCALIBRATE, "failed calibration pattern test");
                }
                throw;
            }
            logStep(here(), "verified %u trace packets, %u others : %u pattern words, %u of synchronisation, %u zeros",
                    tracePackets, otherPackets, dataWords, syncWords, zeroWords);
        }
        if (settings.drmXmtr == "pti" &&
            (dataWords < leastVerifiedWords || dataWords + syncWords + zeroWords != tracePackets * payloadWords)) {
            fail(frontEndUnit, eFAIL, "failed side-band verification");
        }
    } catch (...) {
        control.verifyTimeoutTicks = 0;
        if (control.dataFile.isOpen()) {
            control.dataFile.close();
            logStep(here(), "closed data file");
        }
        throw;
    }
    control.verifyTimeoutTicks = 0;
}

} // namespace VX_QRS::ORV::CLIENT
