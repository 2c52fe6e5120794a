#include "host/calibration/ChosenValues.h"

#include "toolkit/FilePath.h"

#include <algorithm>

namespace host {

namespace {

/// The given properties' lists stay with the channel, so that those of a fresh one have to be given, too.
std::vector<SetProperty> automaticProperties(std::size_t pins, bool verified) {
    std::vector<SetProperty> properties = propertiesOf(defaultValues(pins));
    properties.front().value = "automatic";
    properties.push_back({"verifyCal", verified ? "true" : "false"});
    return properties;
}

constexpr std::size_t mostPins = 8;

} // namespace

PinValues defaultValues(std::size_t pins) {
    // What a calibration begins with.
    constexpr unsigned filter = 7;
    constexpr unsigned plateau = 3;
    constexpr unsigned debounce = 4;
    PinValues values;
    values.delays.assign(pins, 0);
    values.stretches.assign(pins, 0);
    values.plateaus.assign(pins, plateau);
    values.debounces.assign(pins, debounce);
    values.filters.assign(pins, filter);
    return values;
}

void ChosenValues::measureRate(unsigned setting) {
    transmitter.sendNothingDuringSetUp();
    transmitter.holdSetting(setting);
    session.overrideProperties(automaticProperties(mostPins, false));
    refused.clear();
    try {
        session.calibrate(line);
    } catch (const toolkit::Failure& failure) {
        if (failure.code != toolkit::ExitCode::CalibrationRefused || result.log.frequencies.empty() || !result.hertz) {
            throw;
        }
        refused = diagnosis::plainReason(failure.what());
    }
}

diagnosis::Burst ChosenValues::set(const PinValues& values, PatternTransmitter::Pattern pattern) {
    transmitter.sendDuringSetUp(pattern);
    session.overrideProperties(propertiesOf(values));
    try {
        session.calibrate(line);
    } catch (const toolkit::Failure&) {
        transmitter.sendNothingDuringSetUp();
        throw;
    }
    transmitter.sendNothingDuringSetUp();
    return diagnosis::readBurst(toolkit::filePath(session.fileStem().string() + ".cap.txt"));
}

diagnosis::WordCheck ChosenValues::compareWords(diagnosis::WordCheck::When when, double errorRate) {
    diagnosis::WordCheck check;
    check.when = when;
    check.askedErrorRate = errorRate;
    verifyWords(verifiedChannel(session, result), transmitter, check, line);
    return check;
}

void ChosenValues::leave() {
    transmitter.sendNothingDuringSetUp();
    transmitter.holdSetting({});
    std::vector<SetProperty> properties = automaticProperties(mostPins, true);
    std::erase_if(properties, [&](const SetProperty& each) { return isSet(session.userProperties(), each.name); });
    session.overrideProperties(properties);
}

} // namespace host
