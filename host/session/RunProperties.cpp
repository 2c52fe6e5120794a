#include "host/session/RunProperties.h"

#include "common/source/properties/AddedProperties.h"
#include "common/source/properties/ChannelProperties.h"
#include "host/platform/Platform.h"
#include "toolkit/ExitCode.h"
#include "toolkit/FilePath.h"
#include "toolkit/Masked.h"
#include "toolkit/OutputFiles.h"

#include <algorithm>
#include <ostream>
#include <stdexcept>

namespace host {

using toolkit::ExitCode;
using toolkit::Failure;
using VX_QRS::ORV::CLIENT::addedPropertiesVariable;
using VX_QRS::ORV::CLIENT::AddedProperty;

namespace {

template <class Work>
auto orFailure(ExitCode code, Work&& work) {
    try {
        return work();
    } catch (const std::runtime_error& fault) {
        throw Failure(code, fault.what());
    }
}

} // namespace

RunProperties::RunProperties(const std::vector<std::string>& own) : variable(getEnvironment(addedPropertiesVariable)) {
    std::vector<AddedProperty> added;
    if (!variable.empty()) {
        added = orFailure(ExitCode::BadInput, [&] { return VX_QRS::ORV::CLIENT::readAddedProperties(variable); });
    }
    for (const std::string& text : own) {
        addProperty(added, orFailure(ExitCode::Usage, [&] { return VX_QRS::ORV::CLIENT::parseAddedProperty(text); }));
    }
    for (const auto& [name, value] : added) {
        properties.push_back({name, value});
    }
}

RunProperties::~RunProperties() {
    setEnvironment(addedPropertiesVariable, variable);
}

std::filesystem::path RunProperties::givenFile() {
    return toolkit::filePath(getEnvironment(addedPropertiesVariable));
}

void RunProperties::replace(const std::vector<SetProperty>& own, const std::vector<SetProperty>& others) {
    properties.clear();
    for (const SetProperty& each : own) {
        if (!isSet(others, each.name)) {
            properties.push_back(each);
        }
    }
    properties.insert(properties.end(), others.begin(), others.end());
}

void RunProperties::writeTo(const std::filesystem::path& file) {
    toolkit::writeOutputFile(file, [&](std::ostream& out) {
        for (const auto& [name, value] : properties) {
            out << name << "=" << value << "\n";
        }
    });
    setEnvironment(addedPropertiesVariable, file.string());
}

std::string propertyFault(const std::string& text) {
    try {
        VX_QRS::ORV::CLIENT::parseAddedProperty(text);
        return {};
    } catch (const std::runtime_error& fault) {
        return fault.what();
    }
}

std::vector<std::string> settableProperties() {
    std::vector<std::string> names;
    for (const auto& property : VX_QRS::ORV::CLIENT::channelProperties) {
        if (!property.isReadOnly && property.follows == nullptr) {
            names.emplace_back(property.name);
        }
    }
    return names;
}

bool isSet(const std::vector<SetProperty>& properties, const std::string& name) {
    return std::any_of(properties.begin(), properties.end(), [&](const auto& each) { return each.name == name; });
}

std::string propertiesText(const std::vector<SetProperty>& properties) {
    std::string text;
    for (const auto& [name, value] : properties) {
        text += (text.empty() ? "with " : ", ") + toolkit::masked(name + "=" + value);
    }
    return text.empty() ? text : text + "\n";
}

} // namespace host
