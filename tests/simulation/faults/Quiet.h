#pragma once

#include "tests/simulation/scheduler/Order.h"

namespace simulation {

/// While one lives, its thread's allocations are the simulation's own: neither counted nor failed.
class Quiet {
public:
    Quiet() {
        if (depth++ == 0) {
            beginUnwatched();
        }
    }
    Quiet(const Quiet&) = delete;
    Quiet& operator=(const Quiet&) = delete;
    ~Quiet() {
        if (--depth == 0) {
            endUnwatched();
        }
    }
    static bool isOn() { return depth != 0; }

private:
    friend class ProductCall;

    static inline thread_local int depth = 0;
};

/// While one lives, its thread is in the product's code again: a scenario's own code is quiet.
class ProductCall {
public:
    ProductCall() : before(Quiet::depth) {
        Quiet::depth = 0;
        if (before != 0) {
            endUnwatched();
        }
    }
    ProductCall(const ProductCall&) = delete;
    ProductCall& operator=(const ProductCall&) = delete;
    ~ProductCall() {
        if (before != 0) {
            beginUnwatched();
        }
        Quiet::depth = before;
    }

private:
    int before;
};

} // namespace simulation
