#pragma once

#include "common/source/source_utilities/uRunnable.h"
#include "common/source/source_utilities/uThread.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

/// What every platform has to do, checked over each: the two systems' and the simulated one of the schedule search. A
/// case runs on one thread and starts others by contract::Thread only.
namespace contract {

/// Runs a case: on a system at once, on the simulated platform as one schedule after another.
void run(const std::function<void()>& body);

/// Image name of a program that waits for the milliseconds of its argument and ends. It can be started by this name
/// alone while a ProgramFolder lives.
extern const char* const program;
/// Argument of a process that does not end by itself.
inline constexpr const char* always = "always";

/// Where that program can be found.
class ProgramFolder {
public:
    ProgramFolder();
    ProgramFolder(const ProgramFolder&) = delete;
    ProgramFolder& operator=(const ProgramFolder&) = delete;
    ~ProgramFolder();

private:
    std::string before;
};

/// A second thread, joined by the destructor.
class Thread final : public VX_QRS::uRunnable {
public:
    explicit Thread(std::function<void()> work) : body(std::move(work)), thread(this) { EXPECT_TRUE(thread.start()); }
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;
    ~Thread() override { thread.wait(); }

    void run() override { body(); }
    void join() { thread.wait(); }

private:
    std::function<void()> body;
    VX_QRS::uThread thread;
};

} // namespace contract

/// A case as TEST has it.
#define CONTRACT(suite, name)                                                                                          \
    static void suite##name();                                                                                         \
    TEST(suite, name) {                                                                                                \
        contract::run(suite##name);                                                                                    \
    }                                                                                                                  \
    static void suite##name()
