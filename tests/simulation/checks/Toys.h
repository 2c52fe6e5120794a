#pragma once

namespace simulation {

/// Small scenarios with known faults. Adds them to those that scenarioOf() knows; again has no effect.
/// - "toy.correct": two threads and a lock, no fault;
/// - "toy.lockOrder": two threads, one after the other, take two locks in opposite orders;
/// - "toy.deadlock": two threads at the same time do;
/// - "toy.endless": a poll whose condition never comes;
/// - "toy.window": a check and an act with one step between them, which another thread has to hit;
/// - "toy.slow": fails when a thread takes longer than another one sleeps;
/// - "toy.race": two threads add to a number without a lock: a race that no schedule shows;
/// - "toy.writes": fails when its second write to a file fails.
void addToys();

} // namespace simulation
