#include "host/soak/SoakResult.h"

#include "toolkit/Format.h"

#include <algorithm>

namespace host {

void SoakResult::addRound(const GeneratorCheck& check) {
    ++rounds;
    words += check.wordsChecked();
    errors += check.errorCount();
    for (const WordError& error : check.firstErrors()) {
        if (firstErrors.size() < GeneratorCheck::errorsKept) {
            firstErrors.push_back({rounds, error});
        }
    }
}

std::optional<toolkit::Failure> verdictOf(const SoakResult& result) {
    if (result.errors != 0) {
        return toolkit::Failure(toolkit::ExitCode::FaultsFound,
                                toolkit::countText(result.errors, "word") + " came back wrong" +
                                    (result.interrupted ? "; interrupted by the user" : ""));
    }
    if (result.interrupted) {
        return toolkit::Failure(toolkit::ExitCode::Interrupted, "interrupted; the rounds until then were in order");
    }
    return std::nullopt;
}

} // namespace host
