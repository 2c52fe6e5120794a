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

// State shared by object and thread. The thread keeps it alive, since the object may be destroyed without waiting.
struct Course {
    uRunnable* runnable = nullptr;
    std::int32_t priority = 0;
    std::mutex mutex;
    std::condition_variable changed;
    std::uint32_t threadId = 0; // 0 until the thread runs
    bool ended = false;
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
    std::shared_ptr<Course> course;
    pthread_t handle{};
    std::mutex joining; // guards joined
    bool joined = true;

    void leave() {
        if (!joined) {
            pthread_detach(handle);
            joined = true;
        }
    }
};

uThread::uThread(uRunnable* body, std::int32_t threadPriority, std::uint32_t bytes)
    : runnable(body), native(std::make_unique<Native>()), priority(threadPriority), stackSize(bytes) {}

uThread::~uThread() {
    native->leave();
}

bool uThread::start() {
    if (native->course) {
        if (isCurrent() || !wait(0)) {
            return false;
        }
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
    const std::shared_ptr<Course> before = std::exchange(native->course, course);
    native->joined = false;
    const bool made = pthread_create(&native->handle, &attributes, enter, holder.get()) == 0;
    pthread_attr_destroy(&attributes);
    if (!made) {
        native->course = before;
        native->joined = true;
        return false;
    }
    static_cast<void>(holder.release()); // owned by the thread now
    std::unique_lock lock(course->mutex);
    course->changed.wait(lock, [&] { return course->threadId != 0; });
    return true;
}

bool uThread::wait(std::uint32_t milliseconds) {
    if (!native->course || isCurrent()) {
        return false;
    }
    Course& course = *native->course;
    {
        std::unique_lock lock(course.mutex);
        const auto hasEnded = [&] { return course.ended; };
        if (milliseconds == unlimited) {
            course.changed.wait(lock, hasEnded);
        } else if (!course.changed.wait_for(lock, std::chrono::milliseconds(milliseconds), hasEnded)) {
            return false;
        }
    }
    // Only the thread's return is left.
    const std::lock_guard lock(native->joining);
    if (!native->joined) {
        pthread_join(native->handle, nullptr);
        native->joined = true;
    }
    return true;
}

bool uThread::isCurrent() const {
    if (!native->course) {
        return false;
    }
    // The system reuses the number of an ended thread.
    const std::lock_guard lock(native->course->mutex);
    return !native->course->ended && native->course->threadId == static_cast<std::uint32_t>(gettid());
}

std::uint32_t uThread::threadId() const {
    if (!native->course) {
        return 0;
    }
    const std::lock_guard lock(native->course->mutex);
    return native->course->threadId;
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
