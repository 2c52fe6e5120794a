#include "client/transmitters/TransmitterFpga_1.h"

#include "client/frontend/Registers.h"
#include "common/source/Exception.h"
#include "common/source/source_utilities/uLog.h"
#include "mpx/MpxEcomServer/DataClient.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace VX_QRS::ORV::CLIENT {

namespace {

struct GeneratorProgram {
    std::string_view name;
    std::uint32_t code; // of the unit's generator
    const char* pattern;
};

constexpr GeneratorProgram generatorPrograms[] = {
    {"f0", 5, patternF0},          {"calibration", 5, patternF0},         {"a5", 6, patternA5},
    {"ramp", 7, patternRampFrom1}, {"verification", 7, patternRampFrom1}, {"none", 7, patternRampFrom1},
};

constexpr std::uint32_t codeShift = 8;

constexpr std::uint32_t setup1Value = 8;
constexpr std::uint32_t setup2Value = 255;

std::uint32_t widthCode(std::uint32_t dataPins) {
    switch (dataPins) {
    case 1:
        return 0x10;
    case 2:
        return 0x20;
    case 4:
        return 0x30;
    default:
        fail(transmitterUnit, eVALUE, "invalid number of pins");
    }
}

} // namespace

TransmitterFpga_1::TransmitterFpga_1(FrontEnd* unit, std::uint32_t channel)
    : TransmitterBase_1(unit, channel), dataClient(unit->getDataClient()) {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterFpga_1::TransmitterFpga_1");
    xmtrType = "fpga";
}

TransmitterFpga_1::~TransmitterFpga_1() {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterFpga_1::~TransmitterFpga_1");
}

void TransmitterFpga_1::program(const char* name, std::uint32_t) {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterFpga_1::program");
    if (name != nullptr) {
        progName = name;
    }
    const auto found = std::find_if(std::begin(generatorPrograms), std::end(generatorPrograms),
                                    [this](const GeneratorProgram& entry) { return entry.name == progName; });
    if (found == std::end(generatorPrograms)) {
        fail(transmitterUnit, eVALUE, "invalid program for transmitter type");
    }
    progName = found->pattern;
    updatePattern();
    const std::uint32_t control = found->code << codeShift | widthCode(numDataPins());
    const RegisterAccess list[] = {
        {registers::kindUnit, registers::patternControl, control},
        {registers::kindUnit, registers::patternSetup2, setup2Value},
        {registers::kindUnit, registers::patternSetup1, setup1Value},
    };
    dataClient->write(list, static_cast<std::uint32_t>(std::size(list)));
}

void TransmitterFpga_1::shutdown() {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::TransmitterFpga_1::shutdown");
    const RegisterAccess stop{registers::kindUnit, registers::patternControl, 0};
    dataClient->write(&stop, 1);
}

} // namespace VX_QRS::ORV::CLIENT
