#include "host/session/GivenValues.h"

#include "common/source/properties/AddedProperties.h"
#include "host/platform/Platform.h"
#include "toolkit/FilePath.h"
#include "toolkit/Masked.h"
#include "toolkit/OutputFiles.h"
#include "toolkit/TextFile.h"

#include <algorithm>
#include <fstream>

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

/// The files of a calibration, without samples.
std::vector<fs::path> calibrationFiles(const fs::path& stem) {
    std::vector<fs::path> files;
    const std::string beginning = stem.filename().string() + ".";
    std::error_code failed;
    for (const auto& entry : fs::directory_iterator(stem.parent_path(), failed)) {
        const std::string name = entry.path().filename().string();
        if (name.starts_with(beginning) && !name.ends_with(".bin") && !name.ends_with(".kept")) {
            files.push_back(entry.path());
        }
    }
    return files;
}

/// An automatic calibration without a limit, but for the properties of the run.
std::vector<SetProperty> automaticProperties(const SessionResult& result) {
    std::vector<SetProperty> all{{"calMode", "automatic"}, {"frequencyLimit", "0"}, {"delays", ""}, {"stretches", ""},
                                 {"plateaus", ""},         {"debounces", ""},       {"filters", ""}};
    std::erase_if(all, [&](const SetProperty& each) { return isSet(result.properties, each.name); });
    return all;
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

OtherProperties::OtherProperties(Session& session, const SessionResult& result)
    : own(result.properties),
      file(session.runFolder() / toolkit::filePath(session.fileStem().filename().string() + ".values.properties")),
      variable(getEnvironment(addedPropertiesVariable)) {}

OtherProperties::~OtherProperties() {
    setEnvironment(addedPropertiesVariable, variable);
    std::error_code failed;
    fs::remove(file, failed);
}

/// In place: nothing but the receiver's next configuration reads it, and a scan has one for every point.
void OtherProperties::use(const std::vector<SetProperty>& changed) {
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    for (const auto& [name, value] : own) {
        if (!isSet(changed, name)) {
            out << name << "=" << value << "\n";
        }
    }
    for (const auto& [name, value] : changed) {
        out << name << "=" << value << "\n";
    }
    out.close();
    if (!out) {
        throw toolkit::Failure(toolkit::ExitCode::OutputUnwritable,
                               file.string() + " cannot be written; is the disk full?");
    }
    setEnvironment(addedPropertiesVariable, file.string());
}

GivenValues::GivenValues(Session& session, const SessionResult& result)
    : used(session), settings(result.file("settings")), properties(session, result) {
    for (const fs::path& each : calibrationFiles(used.fileStem())) {
        kept.emplace_back(each, toolkit::readText(each));
    }
}

GivenValues::~GivenValues() {
    try {
        restoreFiles();
    } catch (const toolkit::Failure& failure) {
        toolkit::printNotice(std::string("the files of the calibration cannot be restored: ") + failure.what());
    }
}

void GivenValues::set(const PinValues& values) {
    std::vector<SetProperty> all = propertiesOf(values);
    all.push_back({"archive", "0"}); // recordings with these values are none of the user's
    properties.use(all);
    guarded(toolkit::ExitCode::CalibrationRefused,
            [&] { used.receiver().channel().SetConfiguration(settings.c_str()); });
}

void GivenValues::restoreFiles() const {
    std::error_code failed;
    for (const fs::path& each : calibrationFiles(used.fileStem())) {
        fs::remove(each, failed);
    }
    for (const auto& [name, text] : kept) {
        const std::string& bytes = text;
        toolkit::writeOutputFile(name, [&](std::ostream& out) { out << bytes; });
    }
}

void calibrateAgain(Session& session, const SessionResult& result, const std::vector<SetProperty>& changed,
                    ProgressLine& line) {
    std::error_code failed;
    for (const fs::path& each : calibrationFiles(session.fileStem())) {
        if (each.filename().string().find(".freq") != std::string::npos) {
            fs::remove(each, failed);
        }
    }
    std::vector<SetProperty> all = automaticProperties(result);
    std::erase_if(all, [&](const SetProperty& each) { return isSet(changed, each.name); });
    all.insert(all.end(), changed.begin(), changed.end());
    OtherProperties properties(session, result);
    properties.use(all);
    session.calibrate(line);
}

} // namespace host
