#pragma once

#include "rcvr/framework/compiler/Compiler.h"

#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <new>
#include <string>

// The error class family that every library of the trace system throws at its boundary.
//
// A host catches `const Vx::Qrs::Zarn::cZarnError&` (or cZarnErrorIF). Errors are thrown by value; the pointers that
// the text operations give stay valid as long as the caught object and until its text is next changed.
// Neither class derives from std::exception: a host that catches only std::exception does not see these.
// Objects are not shared between threads; the catcher owns its object. Null texts count as empty ones, or add nothing.
// An object's code is in the library that threw it: destroy it before that library is unloaded.
// Making, copying and changing an error throws nothing: without memory a long text is cut.

namespace Vx::Qrs::Zarn {

/// Severity of an error. The receiver uses the value 2 only.
enum Severity_Type : unsigned { eSeverityError = 2 };

/// A text that is cut, at the earliest after 188 characters, where there is no memory for the whole of it.
class ErrorText {
public:
    ErrorText() noexcept = default;
    ErrorText(const ErrorText& other) noexcept { assign({other.c_str()}); }
    ErrorText& operator=(const ErrorText& other) noexcept {
        assign({other.c_str()});
        return *this;
    }
    ~ErrorText() { delete[] allocated; }

    const char* c_str() const noexcept { return allocated != nullptr ? allocated : local; }
    bool empty() const noexcept { return *c_str() == '\0'; }

    /// The parts in their order; this text itself may be one of them. Null parts add nothing.
    void assign(std::initializer_list<const char*> parts) noexcept {
        std::size_t length = 0;
        for (const char* part : parts) {
            length += part != nullptr ? std::strlen(part) : 0;
        }
        char shortened[localSize];
        char* const whole = length < localSize ? nullptr : new (std::nothrow) char[length + 1];
        char* const target = whole != nullptr ? whole : shortened;
        const std::size_t space = whole != nullptr ? length : localSize - 1;
        std::size_t used = 0;
        for (const char* part : parts) {
            for (; part != nullptr && *part != '\0' && used < space; ++part) {
                target[used++] = *part;
            }
        }
        target[used] = '\0';
        if (used < length) {
            std::memcpy(target + used - ellipsisLength, "...", ellipsisLength);
        }
        if (whole == nullptr) {
            std::memcpy(local, shortened, used + 1);
        }
        delete[] allocated;
        allocated = whole;
    }

private:
    static constexpr std::size_t localSize = 192;
    static constexpr std::size_t ellipsisLength = 3;

    char* allocated = nullptr; // null while the text is short enough for `local`
    char local[localSize] = {};
};

class cZarnErrorIF {
public:
    /// Short caption for a message box: "error", or empty where the target adapter or the device data base failed.
    /// Never null.
    virtual const char* GetTitle() const = 0;
    virtual void SetTitle(const char* title) = 0;
    /// A Severity_Type.
    virtual Severity_Type GetSeverity() const = 0;
    virtual void SetSeverity(Severity_Type severity) = 0;
    /// What went wrong, for the user. Never null.
    virtual const char* GetErrorText() const = 0;
    virtual void SetErrorText(const char* text) = 0;
    /// Where it went wrong, for a developer; null when nothing was added.
    virtual const char* GetDetailedText() const = 0;
    /// Appends to the detailed text.
    virtual void AddDetailedInfo(const char* text) = 0;
    /// Inserts a text before the error text, with " : " between them.
    virtual void PushText(const char* text) = 0;
    /// Does nothing; kept for hosts that call it on every error they have shown.
    virtual void Delete() = 0;
    virtual ~cZarnErrorIF() = default;
};

class cZarnError : public cZarnErrorIF {
public:
    cZarnError() = default;
    cZarnError(const char* text, Severity_Type grade) noexcept : severity(grade) { errorText.assign({text}); }
    cZarnError(const cZarnError& other) noexcept : cZarnErrorIF(other) { copyFields(other); }
    cZarnError& operator=(const cZarnError& other) {
        Copy(other);
        return *this;
    }

    const char* GetTitle() const override { return title.c_str(); }
    void SetTitle(const char* text) override { title.assign({text}); }
    Severity_Type GetSeverity() const override { return severity; }
    void SetSeverity(Severity_Type value) override { severity = value; }
    const char* GetErrorText() const override { return errorText.c_str(); }
    void SetErrorText(const char* text) override { errorText.assign({text}); }
    const char* GetDetailedText() const override { return hasDetail ? detailedText.c_str() : nullptr; }
    void AddDetailedInfo(const char* text) override {
        if (text != nullptr) {
            detailedText.assign({detailedText.c_str(), text});
            hasDetail = true;
        }
    }
    void PushText(const char* text) override {
        if (text != nullptr) {
            errorText.assign({text, errorText.empty() ? nullptr : " : ", errorText.c_str()});
        }
    }
    // Hosts look this one up in the library by name, so it keeps default visibility.
    ORV_EXPORT void Delete() override;

    ~cZarnError() override = default;

    void SetErrorText(const std::string& text) { SetErrorText(text.c_str()); }
    void AddDetailedInfo(const std::string& text) { AddDetailedInfo(text.c_str()); }

protected:
    virtual void Copy(const cZarnError& other) { copyFields(other); }
    void ComposeErrorText(std::initializer_list<const char*> parts) noexcept { errorText.assign(parts); }

private:
    void copyFields(const cZarnError& other) noexcept {
        title = other.title;
        severity = other.severity;
        errorText = other.errorText;
        detailedText = other.detailedText;
        hasDetail = other.hasDetail;
    }

    ErrorText title;
    Severity_Type severity = eSeverityError;
    ErrorText errorText;
    ErrorText detailedText;
    bool hasDetail = false;
};

inline void cZarnError::Delete() {}

} // namespace Vx::Qrs::Zarn
