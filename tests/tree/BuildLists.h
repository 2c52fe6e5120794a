#pragma once

#include "tests/tree/SourceTree.h"

namespace tree {

/// Sources that no CMakeLists.txt of their folder or of one above it names or finds by a pattern.
Breaches sourcesThatAreNotBuilt(const Files& files);

} // namespace tree
