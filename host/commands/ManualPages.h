#pragma once

#include "host/commands/CommandFacts.h"

#include <string>
#include <vector>

namespace host {

struct ManualPage {
    std::string file; ///< "orvtrace-burst.1"
    std::string text; ///< in the language of man(7)
};

/// Version and day of release, for the foot of each page.
struct ManualEdition {
    std::string version; ///< "0.1.0"
    std::string date;    ///< "2026-11-22"
};

/// A page for the program and one for each subcommand; nested ones are on the page of theirs.
std::vector<ManualPage> manualPagesOf(const CommandFacts& program, const ManualEdition& edition);

} // namespace host
