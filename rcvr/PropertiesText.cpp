#include "rcvr/PropertiesText.h"

#include "common/source/properties/ChannelProperties.h"
#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uString.h"
#include "rcvr/SettingsKeys.h"

#include <algorithm>

namespace Vx::Qrs::Trace::OrvRcvr {

std::uint32_t bufferSizeBytes(std::uint32_t index) {
    using namespace VX_QRS::ORV::CLIENT;
    return smallestBufferBytes << std::min(index, bufferSizeCount - 1);
}

std::string channelSectionText(std::uint32_t channelIndex, const VX_QRS::ORV::CLIENT::ChannelSettings& settings,
                               const std::vector<VX_QRS::ORV::CLIENT::AddedProperty>& added) {
    std::string text = "[Channel " + std::to_string(channelIndex) + "]\n";
    const auto line = [&](const std::string& key, const std::string& value) {
        text.append(key).append("=").append(value).append("\n");
    };
    line("xmtrType", "");
    for (const SettingsKey* row : settingsKeysBy(&SettingsKey::sectionTurn)) {
        // Applying a section sets every line of a key, the last one to stay, but a look-up finds the first: with both
        // lines the channel would do one thing and report the other.
        const bool isReplaced =
            std::ranges::any_of(added, [row](const auto& property) { return property.name == row->property; });
        if (!isReplaced) {
            line(row->property,
                 row->propertyText != nullptr ? row->propertyText(settings) : valueText(row->value, settings));
        }
    }
    for (const auto& [name, value] : added) {
        line(name, value);
    }
    return text;
}

std::string globalSectionText(const std::string& unitName, std::uint32_t unitPort) {
    return "[Global]\norv=" + unitName + std::to_string(unitPort) + "," + unitName + ".out\n\n";
}

std::string propertiesPathFor(const std::string& settingsPath, const std::string& directory) {
    const std::size_t separator = settingsPath.find_last_of("\\/");
    std::string name = settingsPath.substr(separator + 1); // npos + 1 is 0
    VX_QRS::uString::replace(name, ".xml", ".cfg");
    // The folder's path stays as it is: on a network share it begins with two separators.
    const std::string own = VX_QRS::uEnvironment::separator();
    std::string path = directory;
    if (!path.empty() && !path.ends_with(own)) {
        path += own;
    }
    path += name;
    return path;
}

} // namespace Vx::Qrs::Trace::OrvRcvr
