#pragma once

#include "common/source/source_utilities/SourceLocation.h"
#include "rcvr/framework/cZarnError.h"

#include <cstdint>
#include <exception>
#include <string>

namespace Vx::Qrs::Trace::OrvRcvr {

/// Names of the source units in errors and log lines.
inline constexpr const char* receiverUnit = "OrvRcvr_Receiver";
inline constexpr const char* channelDriverUnit = "OrvRcvr_ChannelDriver";
inline constexpr const char* utilitiesUnit = "OrvRcvr_Utilities";

/// Prefix of the receiver's log lines.
inline constexpr const char* programLabel = "ORV Receiver";

/// Selects the first words of an error's text. The layers below number theirs differently.
enum ErrorCode : std::uint32_t {
    eFailed = 1,
    eNoMemory = 2,
    eNullParameter = 3,
    eBadName = 4,
    eBadIndex = 5, ///< has no words of its own
    eBadFile = 6,
    eBadSequence = 7,
    eBadTarget = 8,
    eNoLibrary = 9,
};

/// A failure as the framework sees it. Its title is always "error" and its severity 2. An error is logged when it is
/// made, not when it is copied. Making, copying and formatting one throws nothing.
class Error : public Zarn::cZarnError {
public:
    /// "operation failed".
    Error();
    /// The words of the code, followed by " : " and the detail; `file` and `line` become the detailed text. Both
    /// pointers may be null.
    Error(const char* file, std::uint32_t line, std::uint32_t code, const char* detail);
    /// Takes the texts of a failure from below: of an Exception its message, detail and place, of any other its what().
    explicit Error(const std::exception& exception);
    Error(const Error& other) noexcept;
    Error& operator=(const Error&) = delete;
    ~Error() override;

    /// A failure to read samples, which is not logged; `reason` may be null.
    static Error whileReading(const char* reason) noexcept;

    std::uint32_t GetCode() const { return code; }

    /// Title, severity and texts in one line. The object owns the text.
    const char* FormatForLog();

private:
    void setText(const char* words, const char* detail) noexcept;
    void addPlace(const char* file, std::uint32_t line);
    void log() noexcept;

    std::uint32_t code;
    Zarn::ErrorText logText;
};

/// Throws an Error from the line that calls.
[[noreturn]] void throwError(const char* unit, ErrorCode code, const char* detail = nullptr,
                             const VX_QRS::SourceLocation& location = VX_QRS::SourceLocation::current());
[[noreturn]] void throwError(const char* unit, ErrorCode code, const std::string& detail,
                             const VX_QRS::SourceLocation& location = VX_QRS::SourceLocation::current());

} // namespace Vx::Qrs::Trace::OrvRcvr
