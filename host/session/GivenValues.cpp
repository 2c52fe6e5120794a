#include "host/session/GivenValues.h"

#include "common/source/properties/AddedProperties.h"
#include "host/platform/Platform.h"
#include "toolkit/FilePath.h"
#include "toolkit/OutputFiles.h"
#include "toolkit/TextFile.h"

#include <algorithm>
#include <ostream>

namespace host {

namespace {

namespace fs = std::filesystem;
using VX_QRS::ORV::CLIENT::addedPropertiesVariable;

template <class Number>
std::string listOf(const std::vector<Number>& values) {
    std::string text;
    for (const Number value : values) {
        text += (text.empty() ? "" : ",") + std::to_string(value);
    }
    return text;
}

/// The files of a calibration, without samples: "STEM." and whatever follows.
std::vector<fs::path> calibrationFiles(const fs::path& stem) {
    std::vector<fs::path> files;
    const std::string beginning = stem.filename().string() + ".";
    std::error_code failed;
    for (const auto& entry : fs::directory_iterator(stem.parent_path(), failed)) {
        const std::string name = entry.path().filename().string();
        if (name.starts_with(beginning) && (name.ends_with(".txt") || name.ends_with(".ver"))) {
            files.push_back(entry.path());
        }
    }
    return files;
}

} // namespace

std::optional<PinValues> valuesOf(const diagnosis::CalFile& report) {
    PinValues values;
    for (const diagnosis::CalPin& pin : report.pins) {
        if (!pin.delay || !pin.stretch || !pin.filter || !pin.debounce || !pin.plateau || *pin.delay < 0) {
            return std::nullopt;
        }
        values.delays.push_back(static_cast<unsigned>(*pin.delay));
        values.stretches.push_back(*pin.stretch);
        values.plateaus.push_back(static_cast<unsigned>(*pin.plateau));
        values.debounces.push_back(static_cast<unsigned>(*pin.debounce));
        values.filters.push_back(static_cast<unsigned>(*pin.filter));
    }
    return values;
}

std::vector<SetProperty> propertiesOf(const PinValues& values) {
    return {{"calMode", "manual"},
            {"delays", listOf(values.delays)},
            {"stretches", listOf(values.stretches)},
            {"plateaus", listOf(values.plateaus)},
            {"debounces", listOf(values.debounces)},
            {"filters", listOf(values.filters)}};
}

GivenValues::GivenValues(Session& session, const SessionResult& result)
    : used(session), settings(result.file("settings")), properties(result.properties),
      file(session.runFolder() / toolkit::filePath(session.fileStem().filename().string() + ".values.properties")),
      variable(getEnvironment(addedPropertiesVariable)) {
    keepFiles();
}

GivenValues::~GivenValues() {
    setEnvironment(addedPropertiesVariable, variable);
    std::error_code failed;
    fs::remove(file, failed);
    try {
        restoreFiles();
    } catch (const toolkit::Failure& failure) {
        toolkit::printNotice(std::string("restoring the files of the calibration: ") + failure.what());
    }
}

void GivenValues::set(const PinValues& values) {
    const std::vector<SetProperty> given = propertiesOf(values);
    toolkit::writeOutputFile(file, [&](std::ostream& out) {
        for (const auto& [name, value] : properties) {
            if (!isSet(given, name)) {
                out << name << "=" << value << "\n";
            }
        }
        for (const auto& [name, value] : given) {
            out << name << "=" << value << "\n";
        }
    });
    setEnvironment(addedPropertiesVariable, file.string());
    guarded(toolkit::ExitCode::CalibrationRefused,
            [&] { used.receiver().channel().SetConfiguration(settings.c_str()); });
}

void GivenValues::keepFiles() {
    for (const fs::path& each : calibrationFiles(used.fileStem())) {
        kept.emplace_back(each, toolkit::readText(each));
    }
}

void GivenValues::restoreFiles() const {
    std::error_code failed;
    for (const fs::path& each : calibrationFiles(used.fileStem())) {
        fs::remove(each, failed);
    }
    for (const auto& [name, text] : kept) {
        toolkit::writeOutputFile(name, [&](std::ostream& out) { out << text; });
    }
}

} // namespace host
