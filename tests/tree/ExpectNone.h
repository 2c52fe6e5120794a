#pragma once

#include "tests/tree/SourceTree.h"

#include <gtest/gtest.h>

namespace tree {

/// One failure per breach: matchers print only the beginning of a long list.
inline void expectNone(const Breaches& breaches) {
    for (const std::string& breach : breaches) {
        ADD_FAILURE() << breach;
    }
}

} // namespace tree
