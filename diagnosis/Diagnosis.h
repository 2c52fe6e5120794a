#pragma once

#include "diagnosis/burst/BurstExport.h"
#include "diagnosis/burst/SigrokSession.h"
#include "diagnosis/burst/WaveformPicture.h"
#include "diagnosis/doctor/Diagnosis.h"
#include "diagnosis/doctor/DiagnosisText.h"
#include "diagnosis/report/Report.h"
#include "diagnosis/stream/RecordingCheck.h"
#include "diagnosis/stream/StreamPayload.h"
#include "diagnosis/verdict/RunVerdict.h"

// Reads what a calibration and a recording left, and judges it. Link orv_diagnosis; nothing here needs the command line.
//
//     const diagnosis::DiagnosticSet set = diagnosis::readDiagnostics("run");
//     const diagnosis::Diagnosis found = diagnosis::diagnose(set);
//     std::cout << diagnosis::diagnosisText(set, found);               // for a person
//     std::cout << diagnosis::diagnosisJson(set, found).dump(2);       // for a script; needs <nlohmann/json.hpp>
//     const diagnosis::RunVerdict verdict = diagnosis::judgeRun(set, found);
//     std::cout << diagnosis::verdictLine(verdict) << "\n";            // can this trace be trusted?
//     diagnosis::writeReport("run", "run/board.report.html", false);   // the page
//     diagnosis::writeVcd(out, burst, diagnosis::partOf(burst, 0, 0, {})); // a burst; also writeCsv, writeSvg, writeSigrokSession
//
//     const diagnosis::FileCheck recording = diagnosis::checkRecording("run/.VX-trace/data/board.bin");
//     std::cout << diagnosis::recordingText(recording);                // does the stream hold together, and where not
//
// Single files are read by readBurst, readCalFile, readRegisters, readVerification and readProperties.
//
// Failures are toolkit::Failure, whose text is meant for the user. There is no state: any number of threads may work on
// different objects.
