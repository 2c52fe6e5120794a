#include "rcvr/Error.h"

#include "common/source/Exception.h"
#include "common/source/source_utilities/uLog.h"

#include <cstdio>

namespace Vx::Qrs::Trace::OrvRcvr {

using VX_QRS::ORV::CLIENT::Exception;

namespace {

const char* wordsFor(std::uint32_t code) {
    switch (code) {
    case eNoMemory:
        return "memory allocation failed";
    case eNullParameter:
        return "null parameter";
    case eBadName:
        return "invalid variable name";
    case eBadFile:
        return "invalid file";
    case eBadSequence:
        return "invalid sequence of calls";
    case eBadTarget:
        return "invalid target state";
    case eNoLibrary:
        return "dll load failure";
    default:
        return "operation failed";
    }
}

} // namespace

Error::Error() : cZarnError(wordsFor(eFailed), Zarn::eSeverityError), code(eFailed) {
    SetTitle("error");
}

Error::Error(const char* file, std::uint32_t line, std::uint32_t number, const char* detail) : Error() {
    code = number;
    addPlace(file, line);
    setText(wordsFor(number), detail);
    log();
}

Error::Error(const std::exception& exception) : Error() {
    if (const auto* known = dynamic_cast<const Exception*>(&exception)) {
        const char* detail = known->detail();
        setText(known->statusText(), detail != nullptr && *detail != '\0' ? detail : nullptr);
        addPlace(known->file(), known->line());
    } else {
        SetErrorText(exception.what());
    }
    log();
}

Error::Error(const Error& other) noexcept : cZarnError(other), code(other.code) {}

Error::~Error() = default;

Error Error::whileReading(const char* reason) noexcept {
    Error error;
    error.setText("Internal software error while reading trace data ", reason);
    return error;
}

void Error::setText(const char* words, const char* detail) noexcept {
    ComposeErrorText({words, detail != nullptr ? " : " : nullptr, detail});
}

void Error::addPlace(const char* file, std::uint32_t line) {
    if (file == nullptr) {
        return;
    }
    if (GetDetailedText() != nullptr) {
        AddDetailedInfo(" : ");
    }
    char place[16];
    std::snprintf(place, sizeof place, "(%u)", line);
    AddDetailedInfo(file);
    AddDetailedInfo(place);
}

const char* Error::FormatForLog() {
    char grade[16];
    std::snprintf(grade, sizeof grade, "(%u) : ", static_cast<unsigned>(GetSeverity()));
    const char* detail = GetDetailedText();
    logText.assign(
        {programLabel, " : ", GetTitle(), grade, GetErrorText(), detail != nullptr ? " : " : nullptr, detail});
    return logText.c_str();
}

void Error::log() noexcept {
    try {
        if (VX_QRS::getLogManager()->getThreshold() >= 2) {
            VX_QRS::logErrorAt(2, "%s", FormatForLog());
        }
    } catch (const std::exception&) { // without memory there is no log yet
    }
}

void throwError(const char* unit, ErrorCode code, const char* detail, const VX_QRS::SourceLocation& location) {
    throw Error(unit, location.line(), code, detail);
}

void throwError(const char* unit, ErrorCode code, const std::string& detail, const VX_QRS::SourceLocation& location) {
    throw Error(unit, location.line(), code, detail.c_str());
}

} // namespace Vx::Qrs::Trace::OrvRcvr
