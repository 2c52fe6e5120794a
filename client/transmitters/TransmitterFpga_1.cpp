#include "client/transmitters/TransmitterFpga_1.h"

#include "client/frontend/Registers.h"
#include "common/source/Exception.h"
#include "common/source/source_utilities/uLog.h"
#include "mpx/MpxEcomServer/DataClient.h"

#include <iterator>

namespace VX_QRS::ORV::CLIENT {

namespace {

struct Program {
    const char* name;
    std::uint32_t code;
    const char* becomes;
};
constexpr Program programs[] = {
    {"f0", 5, "f0"},          {"calibration", 5, "f0"},     {"a5", 6, "a5"},
    {"ramp", 7, "ramp1"},     {"verification", 7, "ramp1"}, {"none", 7, "ramp1"},
};
constexpr std::uint32_t codeShift = 8;

constexpr std::uint32_t setup2Value = 255;
constexpr std::uint32_t setup1Value = 8;

/// 0 for a number of data pins that the generator does not have.
std::uint32_t widthCode(std::uint32_t dataPins) {
    switch (dataPins) {
    case 1:
        return 0x10;
    case 2:
        return 0x20;
    case 4:
        return 0x30;
    default:
        return 0;
    }
}

const Program* findProgram(const std::string& name) {
    for (const Program& candidate : programs) {
        if (name == candidate.name)
            return &candidate;
    }
    return nullptr;
}

} // namespace

TransmitterFpga_1::TransmitterFpga_1(FrontEnd* front, std::uint32_t channel)
    : TransmitterBase_1(front, channel), dataClient(front->getDataClient()) {
    xmtrType = "fpga";
}

TransmitterFpga_1::~TransmitterFpga_1() {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterFpga_1::~TransmitterFpga_1");
}

void TransmitterFpga_1::program(const char* name, std::uint32_t) {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterFpga_1::program");
    if (name != nullptr)
        progName = name;
    const Program* chosen = findProgram(progName);
    if (chosen == nullptr)
        fail(transmitterUnit, eVALUE, "invalid program for transmitter type");
    progName = chosen->becomes;
    updatePattern();
    const std::uint32_t width = widthCode(numDataPins());
    if (width == 0)
        fail(transmitterUnit, eVALUE, "invalid number of pins");
    using namespace registers;
    RegisterAccess list[] = {{kindUnit, patternControl, chosen->code << codeShift | width},
                             {kindUnit, patternSetup2, setup2Value},
                             {kindUnit, patternSetup1, setup1Value}};
    dataClient->write(list, static_cast<std::uint32_t>(std::size(list)));
}

void TransmitterFpga_1::shutdown() {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterFpga_1::shutdown");
    RegisterAccess off{registers::kindUnit, registers::patternControl, 0};
    dataClient->write(&off, 1);
}

} // namespace VX_QRS::ORV::CLIENT
