#include "pinmap/PinAssignment.h"

#include "common/source/source_utilities/uConfig.h"
#include "common/source/source_utilities/uString.h"

#include <utility>

namespace Vx::Qrs::Trace::OrvRcvr {

using VX_QRS::uConfig;
using VX_QRS::uString;

std::vector<PinoutText> readPinMapTexts(const char* path) {
    uConfig file;
    file.setPath(path);
    file.read();
    std::vector<uConfig::Variable> variables;
    file.getVariables(variables);
    std::vector<PinoutText> texts;
    for (uConfig::Variable& variable : variables) {
        texts.push_back({std::move(variable.name), std::move(variable.value)});
    }
    return texts;
}

std::vector<AssignmentField> splitAssignment(const std::string& value) {
    std::vector<std::string> texts;
    uString::split(texts, value, ";");
    std::vector<AssignmentField> fields;
    for (const std::string& text : texts) {
        AssignmentField field;
        if (uString::splitOnce(text, "=", field.kind, field.list) == 2 && field.list.find('=') == std::string::npos) {
            fields.push_back(std::move(field));
        }
    }
    return fields;
}

PinList parsePinList(const std::string& text) {
    std::vector<std::string> numbers;
    uString::split(numbers, text, ",");
    PinList pins;
    for (const std::string& number : numbers) {
        pins.push_back(uString::toNumber<std::uint32_t>(number));
    }
    return pins;
}

std::string formatPinList(const PinList& pins) {
    std::string text;
    for (const std::uint32_t pin : pins) {
        if (!text.empty()) {
            text += ',';
        }
        text += std::to_string(pin);
    }
    return text;
}

} // namespace Vx::Qrs::Trace::OrvRcvr
