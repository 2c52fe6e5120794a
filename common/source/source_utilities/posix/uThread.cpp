#include "common/source/source_utilities/uThread.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>
#include <pthread.h>
#include <sys/resource.h>
#include <time.h>
#include <unistd.h>
#include <utility>

namespace VX_QRS {

namespace {

// State of one run, shared by the object, the thread and those that wait for it: the object may be destroyed without
// waiting, and a waiting thread may see the end only after the next start.
struct Course {
    uRunnable* runnable = nullptr;
    std::int32_t priority = 0;
    std::mutex mutex;
    std::condition_variable changed;
    std::uint32_t threadId = 0; // 0 until the thread runs
    bool ended = false;
    std::mutex joining; // guards what follows
    pthread_t handle{};
    bool joined = false;

    bool isCurrent() {
        // The system reuses the number of an ended thread.
        const std::lock_guard lock(mutex);
        return !ended && threadId == static_cast<std::uint32_t>(gettid());
    }

    // Nothing runs that could end this one.
    void endWithoutThread() {
        joined = true;
        const std::lock_guard lock(mutex);
        ended = true;
        changed.notify_all();
    }
};

void* enter(void* argument) {
    const std::unique_ptr<std::shared_ptr<Course>> holder(static_cast<std::shared_ptr<Course>*>(argument));
    Course& course = **holder;
    if (course.priority != 0) {
        setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), -course.priority);
    }
    {
        const std::lock_guard lock(course.mutex);
        course.threadId = static_cast<std::uint32_t>(gettid());
        course.changed.notify_all();
    }
    if (course.runnable != nullptr) {
        course.runnable->run();
    }
    const std::lock_guard lock(course.mutex);
    course.ended = true;
    course.changed.notify_all();
    return nullptr;
}

} // namespace

struct uThread::Native {
    std::shared_ptr<Course> current() {
        const std::lock_guard lock(mutex);
        return course;
    }
    // The one before.
    std::shared_ptr<Course> replace(std::shared_ptr<Course> next) {
        const std::lock_guard lock(mutex);
        return std::exchange(course, std::move(next));
    }

private:
    std::mutex mutex;
    std::shared_ptr<Course> course;
};

uThread::uThread(uRunnable* body, std::int32_t threadPriority, std::uint32_t bytes)
    : runnable(body), native(std::make_unique<Native>()), priority(threadPriority), stackSize(bytes) {}

uThread::~uThread() {
    const std::shared_ptr<Course> course = native->current();
    if (course != nullptr && !std::exchange(course->joined, true)) {
        pthread_detach(course->handle);
    }
}

bool uThread::start() {
    if (native->current() != nullptr && !wait(0)) {
        return false;
    }
    std::shared_ptr<Course> course;
    std::unique_ptr<std::shared_ptr<Course>> holder;
    try {
        course = std::make_shared<Course>();
        holder = std::make_unique<std::shared_ptr<Course>>(course);
    } catch (const std::bad_alloc&) {
        return false;
    }
    course->runnable = runnable;
    course->priority = priority;
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    if (stackSize != 0) {
        // Whole pages, and at least the system's minimum.
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        const auto least = static_cast<std::size_t>(sysconf(_SC_THREAD_STACK_MIN));
        const std::size_t wanted = std::max(std::size_t{stackSize}, least);
        pthread_attr_setstacksize(&attributes, (wanted + page - 1) / page * page);
    }
    // Set before the thread starts; it may query its own state immediately.
    const std::shared_ptr<Course> before = native->replace(course);
    {
        const std::lock_guard lock(course->joining);
        const bool made = pthread_create(&course->handle, &attributes, enter, holder.get()) == 0;
        pthread_attr_destroy(&attributes);
        if (!made) {
            native->replace(before);
            course->endWithoutThread();
            return false;
        }
    }
    static_cast<void>(holder.release()); // owned by the thread now
    std::unique_lock lock(course->mutex);
    course->changed.wait(lock, [&] { return course->threadId != 0; });
    return true;
}

bool uThread::wait(std::uint32_t milliseconds) {
    const std::shared_ptr<Course> course = native->current();
    if (course == nullptr || course->isCurrent()) {
        return false;
    }
    {
        std::unique_lock lock(course->mutex);
        const auto hasEnded = [&] { return course->ended; };
        if (milliseconds == unlimited) {
            course->changed.wait(lock, hasEnded);
        } else if (!course->changed.wait_for(lock, std::chrono::milliseconds(milliseconds), hasEnded)) {
            return false;
        }
    }
    // Only the thread's return is left.
    const std::lock_guard lock(course->joining);
    if (!std::exchange(course->joined, true)) {
        pthread_join(course->handle, nullptr);
    }
    return true;
}

bool uThread::isCurrent() const {
    const std::shared_ptr<Course> course = native->current();
    return course != nullptr && course->isCurrent();
}

std::uint32_t uThread::threadId() const {
    const std::shared_ptr<Course> course = native->current();
    if (course == nullptr) {
        return 0;
    }
    const std::lock_guard lock(course->mutex);
    return course->threadId;
}

void uThread::sleep(std::uint32_t milliseconds) {
    timespec left{};
    left.tv_sec = milliseconds / 1000;
    left.tv_nsec = static_cast<long>(milliseconds % 1000) * 1000000;
    while (nanosleep(&left, &left) != 0) {
        // Interrupted by a signal; the rest is in `left`.
    }
}

} // namespace VX_QRS
