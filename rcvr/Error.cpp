#include "rcvr/Error.h"

#include "common/source/Exception.h"
#include "common/source/source_utilities/uLog.h"

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

std::string withDetail(const char* words, const char* detail) {
    std::string text = words;
    if (detail != nullptr)
        text.append(" : ").append(detail);
    return text;
}

} // namespace

Error::Error() : cZarnError(wordsFor(eFailed), Zarn::eSeverityError), code(eFailed) {
    SetTitle("error");
}

Error::Error(const char* file, std::uint32_t line, std::uint32_t number, const char* detail) : Error() {
    code = number;
    addPlace(file, line);
    SetErrorText(withDetail(wordsFor(number), detail));
    log();
}

Error::Error(const std::exception& exception) : Error() {
    if (const auto* known = dynamic_cast<const Exception*>(&exception)) {
        const char* detail = known->detail();
        SetErrorText(withDetail(known->statusText(), detail != nullptr && *detail != '\0' ? detail : nullptr));
        addPlace(known->file(), known->line());
    } else {
        SetErrorText(exception.what());
    }
    log();
}

Error::Error(const Error& other) : cZarnError(other), code(other.code) {}

Error::~Error() = default;

void Error::addPlace(const char* file, std::uint32_t line) {
    if (file == nullptr)
        return;
    if (GetDetailedText() != nullptr)
        AddDetailedInfo(" : ");
    AddDetailedInfo(std::string(file) + "(" + std::to_string(line) + ")");
}

const char* Error::FormatForLog() {
    logText = std::string(programLabel) + " : " + GetTitle() + "(" +
              std::to_string(static_cast<std::uint32_t>(GetSeverity())) + ") : " + GetErrorText();
    if (const char* detail = GetDetailedText())
        logText.append(" : ").append(detail);
    return logText.c_str();
}

void Error::log() {
    if (VX_QRS::getLogManager()->getThreshold() >= 2)
        VX_QRS::logErrorAt(2, "%s", FormatForLog());
}

void throwError(const char* unit, ErrorCode code, const char* detail, const VX_QRS::SourceLocation& location) {
    throw Error(unit, location.line(), code, detail);
}

void throwError(const char* unit, ErrorCode code, const std::string& detail, const VX_QRS::SourceLocation& location) {
    throw Error(unit, location.line(), code, detail.c_str());
}

} // namespace Vx::Qrs::Trace::OrvRcvr
