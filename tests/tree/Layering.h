#pragma once

#include "tests/tree/SourceTree.h"

// Which folder may include what, and which of them may know the platform. CONTRIBUTING.md has the same table.

namespace tree {

/// A room includes itself and the rooms below it, nothing else.
Breaches upwardIncludes(const Files& files);
/// In the rooms of the product every quoted include is a file, named from the root.
Breaches includesThatAreNotFromTheRoot(const Files& files);
Breaches includeCycles(const Files& files);
/// Tests for the platform and headers of one platform, outside win32/ and posix/.
Breaches platformDependence(const Files& files);
/// Words that only some compilers know, outside the one header that has them.
Breaches compilerDependence(const Files& files);

} // namespace tree
