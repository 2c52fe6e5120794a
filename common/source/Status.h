#pragma once

#include <cstdint>

namespace VX_QRS::ORV::CLIENT {

/// Failures of the layers below the framework's boundary.
enum Status : std::uint32_t {
    eFAIL = 1,
    eVER = 2,
    eALLOC = 3,
    eNULL = 4,
    eNAME = 5,
    eVALUE = 6,
    eFILE = 7,
    eTYPE = 8,
    eSEQUENCE = 9,
    eCONFIG = 10,
    eXMTR = 11,
    eCALIBRATE = 12,
    eOVS = 13,
    eDATASERVER = 14,
    eTARGET = 15,
    eLOAD = 16,
};

/// "eFAIL" and so on, "UNKNOWN" for any other number. The name of eXMTR is "eXMTR:", with a colon.
const char* statusName(std::uint32_t status);

/// "operation failed" and so on, "unknown status" for any other number.
const char* statusText(std::uint32_t status);

} // namespace VX_QRS::ORV::CLIENT
