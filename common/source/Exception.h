#pragma once

#include "common/source/Status.h"
#include "common/source/source_utilities/SourceLocation.h"

#include <cstdint>
#include <exception>
#include <string>

namespace VX_QRS::ORV::CLIENT {

/// The exception of the front end, the transmitters and the layers below them. what() reads "eNULL(4) : null parameter",
/// followed by " : " and the detail when there is one.
class Exception : public std::exception {
public:
    /// `file` is the source unit; `file` and `detail` may be null.
    Exception(const char* file, std::uint32_t line, std::uint32_t status, const char* detail = nullptr);
    ~Exception() override;

    const char* what() const noexcept override;
    virtual std::uint32_t status() const;
    virtual const char* statusName() const;
    virtual const char* statusText() const;
    virtual const char* file() const;
    virtual std::uint32_t line() const;
    virtual const char* detail() const;

private:
    std::uint32_t statusNumber;
    std::string detailText;
    std::string fullText;
    std::string fileName;
    std::uint32_t lineNumber;
};

/// Throws an Exception with the caller's line.
[[noreturn]] void fail(const char* unit, Status status, const std::string& detail = {},
                       const SourceLocation& location = SourceLocation::current());

} // namespace VX_QRS::ORV::CLIENT
