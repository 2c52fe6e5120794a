#pragma once

#include "tests/tree/SourceTree.h"

// Words that make comments and documents hard to read.

namespace tree {

/// Their uses in documents, outside of code spans and code blocks.
Breaches hardWordsInDocuments(const Files& files);
/// Their uses in comments of sources.
Breaches hardWordsInComments(const Files& files);

} // namespace tree
