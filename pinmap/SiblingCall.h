#pragma once

#include "rcvr/framework/cZarnError.h"

#include <exception>
#include <stdexcept>
#include <utility>

// Calls into libraries that are loaded for a while only.

namespace Vx::Qrs::Trace::OrvRcvr {

/// A copy of an error whose code and type information lie in this module.
inline Zarn::cZarnError copyOfError(const Zarn::cZarnErrorIF& error) {
    Zarn::cZarnError copy(error.GetErrorText(), error.GetSeverity());
    copy.SetTitle(error.GetTitle());
    if (const char* detail = error.GetDetailedText()) {
        copy.AddDetailedInfo(detail);
    }
    return copy;
}

/// Calls into a sibling library and hands its result on. What it throws is replaced by an object of this module: an
/// exception may outlive the library that it came from, and its destructor would then be gone.
template <class Call>
decltype(auto) callSibling(Call&& call) {
    try {
        return std::forward<Call>(call)();
    } catch (const Zarn::cZarnErrorIF& error) {
        throw copyOfError(error);
    } catch (const std::exception& error) {
        const char* text = error.what();
        throw std::runtime_error(text != nullptr ? text : "");
    } catch (...) {
        throw Zarn::cZarnError("unknown exception", Zarn::eSeverityError);
    }
}

} // namespace Vx::Qrs::Trace::OrvRcvr
