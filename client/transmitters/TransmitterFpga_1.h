#pragma once

#include "client/transmitters/TransmitterBase_1.h"

namespace VX_QRS::ORV {
class DataClient;
}

namespace VX_QRS::ORV::CLIENT {

/// The capture unit sends a test pattern to its own inputs, so that it can be checked and calibrated without a target.
/// Has no frequency settings.
class TransmitterFpga_1 : public TransmitterBase_1 {
public:
    TransmitterFpga_1(FrontEnd* frontEnd, std::uint32_t xmtrChannel);
    ~TransmitterFpga_1() override;

    /// Throws eVALUE for a pattern that the unit cannot send and for a number of pins that is not 1, 2 or 4. "none"
    /// sends a ramp. `frequencySetting` is ignored. Failures of register accesses pass through.
    void program(const char* name, std::uint32_t frequencySetting) override;
    void shutdown() override;

private:
    DataClient* dataClient; // the front end's
};

} // namespace VX_QRS::ORV::CLIENT
