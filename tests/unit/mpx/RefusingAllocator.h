#pragma once

#include <cstddef>
#include <string>

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

/// While it lives, memory ends on this thread: `operator new` spares so many blocks and refuses the one after those,
/// or, where that is lasting, all that follow.
class MemoryEnds {
public:
    explicit MemoryEnds(int spare, bool lasting = true);
    MemoryEnds(const MemoryEnds&) = delete;
    MemoryEnds& operator=(const MemoryEnds&) = delete;
    ~MemoryEnds();
    /// Whether there was a block to refuse. Also good after its end, until the next one.
    static bool hasRefused();
};

/// For each block that an action allocates: memory ends there, once in a first pass and for good in a second one.
/// @param action must not throw; runs while memory ends. @param check what is to hold afterwards.
/// @return the number of blocks refused.
template <class Action, class Check>
int forEachRefusedBlock(const Action& action, const Check& check) {
    int refused = 0;
    for (const bool lasting : {false, true}) {
        for (int spare = 0;; ++spare) {
            {
                const MemoryEnds end(spare, lasting);
                action();
            }
            const bool hasRefused = MemoryEnds::hasRefused();
            check((lasting ? "for good after " : "once after ") + std::to_string(spare) + " blocks");
            if (!hasRefused) {
                break;
            }
            ++refused;
        }
    }
    return refused;
}
