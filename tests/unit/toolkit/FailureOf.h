#pragma once

#include "toolkit/ExitCode.h"

#include <string>

namespace toolkit {

/// The code of the failure that ends `work`; Done if none does.
template <class Work>
ExitCode codeOf(Work&& work) {
    try {
        work();
    } catch (const Failure& failure) {
        return failure.code;
    }
    return ExitCode::Done;
}

/// Its text.
template <class Work>
std::string textOf(Work&& work) {
    try {
        work();
    } catch (const Failure& failure) {
        return failure.what();
    }
    return "no failure";
}

} // namespace toolkit
