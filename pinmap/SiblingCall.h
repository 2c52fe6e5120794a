#pragma once

#include "rcvr/framework/cZarnError.h"

#include <exception>
#include <stdexcept>
#include <utility>

// Calls into libraries that may be unloaded.

namespace Vx::Qrs::Trace::OrvRcvr {

/// A copy of an error with its code and type information in this module.
inline Zarn::cZarnError copyOfError(const Zarn::cZarnErrorIF& error) {
    Zarn::cZarnError copy(error.GetErrorText(), error.GetSeverity());
    copy.SetTitle(error.GetTitle());
    if (const char* detail = error.GetDetailedText()) {
        copy.AddDetailedInfo(detail);
    }
    return copy;
}

/// Calls into a sibling library and returns its result. Its exceptions are replaced by objects of this module: an
/// exception may outlive its library, which contains its destructor.
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
