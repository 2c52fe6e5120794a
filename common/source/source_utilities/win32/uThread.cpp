#include "common/source/source_utilities/uThread.h"

#include <windows.h>
#include <mutex>
#include <new>
#include <process.h>
#include <utility>

namespace VX_QRS {

namespace {

// One run, shared by the object and those that wait for it: they may see the end only after the next start.
struct Course {
    Course() = default;
    Course(const Course&) = delete;
    Course& operator=(const Course&) = delete;
    ~Course() {
        if (handle != nullptr) {
            CloseHandle(handle);
        }
    }

    bool isCurrent() const { return id == GetCurrentThreadId(); }

    HANDLE handle = nullptr;
    unsigned id = 0;
};

unsigned __stdcall enter(void* runnable) {
    if (runnable != nullptr) {
        static_cast<uRunnable*>(runnable)->run();
    }
    return 0;
}

} // namespace

struct uThread::Native {
    std::shared_ptr<Course> current() {
        const std::lock_guard lock(mutex);
        return course;
    }
    void replace(std::shared_ptr<Course> next) {
        const std::lock_guard lock(mutex);
        std::swap(course, next);
    }

private:
    std::mutex mutex;
    std::shared_ptr<Course> course;
};

uThread::uThread(uRunnable* body, std::int32_t threadPriority, std::uint32_t bytes)
    : runnable(body), native(std::make_unique<Native>()), priority(threadPriority), stackSize(bytes) {}

uThread::~uThread() = default;

bool uThread::start() {
    if (native->current() != nullptr) {
        if (!wait(0)) {
            return false;
        }
        native->replace(nullptr); // no thread, in case the creation fails
    }
    std::shared_ptr<Course> course;
    try {
        course = std::make_shared<Course>();
    } catch (const std::bad_alloc&) {
        return false;
    }
    // Only the runnable is passed: the thread may outlive this object.
    course->handle =
        reinterpret_cast<HANDLE>(_beginthreadex(nullptr, stackSize, &enter, runnable, CREATE_SUSPENDED, &course->id));
    if (course->handle == nullptr) {
        return false;
    }
    native->replace(course);
    SetThreadPriority(course->handle, priority);
    return ResumeThread(course->handle) == 1;
}

bool uThread::wait(std::uint32_t milliseconds) {
    const std::shared_ptr<Course> course = native->current();
    return course != nullptr && !course->isCurrent() &&
           WaitForSingleObject(course->handle, milliseconds) == WAIT_OBJECT_0;
}

bool uThread::isCurrent() const {
    const std::shared_ptr<Course> course = native->current();
    return course != nullptr && course->isCurrent();
}

std::uint32_t uThread::threadId() const {
    const std::shared_ptr<Course> course = native->current();
    return course != nullptr ? course->id : 0;
}

void uThread::sleep(std::uint32_t milliseconds) {
    Sleep(milliseconds);
}

} // namespace VX_QRS
