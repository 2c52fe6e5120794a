#pragma once

#include "client/transmitters/TransmitterBase_1.h"

namespace VX_QRS::ORV::CLIENT {

/// The capture unit sends test patterns to its own inputs, so that it can be checked and calibrated with no target.
/// There are no frequency settings: the number given to program is ignored. "none" sends a ramp too.
class TransmitterFpga_1 final : public TransmitterBase_1 {
public:
    TransmitterFpga_1(FrontEnd* front, std::uint32_t channel);
    ~TransmitterFpga_1() override;

    /// Any other name than "f0", "calibration", "a5", "ramp", "verification" and "none", and any other number of data
    /// pins than 1, 2 and 4, throws eVALUE and leaves the unit as it is.
    void program(const char* name, std::uint32_t frequencySetting) override;
    void shutdown() override;

private:
    DataClient* dataClient; // the front end's
};

} // namespace VX_QRS::ORV::CLIENT
