#pragma once

#include <cstddef>

/// While it lives, the program's `operator new` refuses blocks of these sizes: all of them, or, with a number of
/// blocks to spare, only the one behind those. A program that links it has that operator for all of its code.
class Refusing {
public:
    static constexpr int all = -1;
    Refusing(std::size_t from, std::size_t to, int spare = all);
    Refusing(const Refusing&) = delete;
    Refusing& operator=(const Refusing&) = delete;
    ~Refusing();
    /// Whether there was a block to refuse.
    bool hasRefused() const;
};
