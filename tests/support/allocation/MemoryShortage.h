#pragma once

#include <cstddef>
#include <string>

namespace test_support {

/// While it lives, the program's `operator new` refuses blocks of a range of sizes, on every thread. One at a time.
class RefusedSizes {
public:
    static constexpr int all = -1;
    /// Refuses blocks of `from` to `to` bytes, after the first `granted` of them unless that is `all`.
    RefusedSizes(std::size_t from, std::size_t to, int granted = all);
    RefusedSizes(const RefusedSizes&) = delete;
    RefusedSizes& operator=(const RefusedSizes&) = delete;
    ~RefusedSizes();
    /// Whether a block was refused.
    bool hasRefused() const;
};

enum class Shortage { oneBlock, lasting };

/// While it lives, `operator new` on this thread grants a number of blocks and refuses the next one, or that one and
/// all that follow. One at a time on each thread.
class MemoryShortage {
public:
    explicit MemoryShortage(std::size_t granted, Shortage kind = Shortage::lasting);
    MemoryShortage(const MemoryShortage&) = delete;
    MemoryShortage& operator=(const MemoryShortage&) = delete;
    ~MemoryShortage();

    /// Between these two calls no block is refused or counted.
    void pause();
    void resume();

    /// Whether a block was refused. Valid until the next shortage on this thread, also after the end of this one.
    static bool hasRefused();
};

/// Runs an action once for each block it allocates and for each kind of shortage, with the memory ending at that block.
/// @param action runs during the shortage; must not throw.
/// @param check runs after it, with a text that says where memory ended.
/// @return the number of runs in which a block was refused.
template <class Action, class Check>
int forEachRefusedBlock(const Action& action, const Check& check) {
    int refused = 0;
    for (const Shortage kind : {Shortage::oneBlock, Shortage::lasting}) {
        for (std::size_t granted = 0;; ++granted) {
            {
                const MemoryShortage shortage(granted, kind);
                action();
            }
            const bool hasRefused = MemoryShortage::hasRefused();
            check((kind == Shortage::lasting ? "for good after " : "once after ") + std::to_string(granted) +
                  " blocks");
            if (!hasRefused) {
                break;
            }
            ++refused;
        }
    }
    return refused;
}

} // namespace test_support
