#include "common/source/Exception.h"

#include <array>

namespace VX_QRS::ORV::CLIENT {

namespace {

struct StatusEntry {
    const char* name;
    const char* text;
};

// By number; entry 0 is for every number without one.
constexpr std::array<StatusEntry, 17> statusTable{{
    {"UNKNOWN", "unknown status"},
    {"eFAIL", "operation failed"},
    {"eVER", "incompatible version requested"},
    {"eALLOC", "memory allocation failed"},
    {"eNULL", "null parameter"},
    {"eNAME", "invalid variable name"},
    {"eVALUE", "invalid variable value"},
    {"eFILE", "invalid file"},
    {"eTYPE", "invalid type"},
    {"eSEQUENCE", "invalid sequence of calls"},
    {"eCONFIG", "invalid configuration"},
    {"eXMTR:", "transmitter failure"}, // the colon is part of the name
    {"eCALIBRATE", "failed to calibrate channel"},
    {"eOVS", "over sampling error"},
    {"eDATASERVER", "data server failure"},
    {"eTARGET", "invalid target state"},
    {"eLOAD", "dll load failure"},
}};
static_assert(statusTable.size() == eLOAD + 1);

const StatusEntry& entryOf(std::uint32_t status) {
    return statusTable[status < statusTable.size() ? status : 0];
}

const char* orEmpty(const char* text) {
    return text != nullptr ? text : "";
}

} // namespace

const char* statusName(std::uint32_t status) {
    return entryOf(status).name;
}

const char* statusText(std::uint32_t status) {
    return entryOf(status).text;
}

Exception::Exception(const char* file, std::uint32_t line, std::uint32_t status, const char* detail)
    : statusNumber(status), detailText(orEmpty(detail)), fileName(orEmpty(file)), lineNumber(line) {
    const StatusEntry& entry = entryOf(status);
    fullText = std::string(entry.name) + "(" + std::to_string(status) + ") : " + entry.text;
    if (!detailText.empty()) {
        fullText += " : " + detailText;
    }
}

Exception::~Exception() = default;

const char* Exception::what() const noexcept {
    return fullText.c_str();
}
std::uint32_t Exception::status() const {
    return statusNumber;
}
const char* Exception::statusName() const {
    return entryOf(statusNumber).name;
}
const char* Exception::statusText() const {
    return entryOf(statusNumber).text;
}
const char* Exception::file() const {
    return fileName.c_str();
}
std::uint32_t Exception::line() const {
    return lineNumber;
}
const char* Exception::detail() const {
    return detailText.c_str();
}

void fail(const char* unit, Status status, const std::string& detail, const SourceLocation& location) {
    throw Exception(unit, location.line(), status, detail.c_str());
}

} // namespace VX_QRS::ORV::CLIENT
