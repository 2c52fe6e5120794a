#pragma once

#include <gtest/gtest.h>

#include "tests/tree/SourceTree.h"

namespace tree {

/// One failure per breach: matchers print only the beginning of a long list.
inline void expectNone(const Breaches& breaches) {
    for (const std::string& breach : breaches) {
        ADD_FAILURE() << breach;
    }
}

} // namespace tree
