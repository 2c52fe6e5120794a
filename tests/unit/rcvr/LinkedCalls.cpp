#include "LinkedCalls.h"

#include "common/source/source_utilities/uDll.h"

#include <utility>

namespace rcvr_test {

namespace {

std::function<void()> beforeToBool;
UnloadedLibraries* listener = nullptr;

} // namespace

BeforeToBool::BeforeToBool(std::function<void()> step) {
    beforeToBool = std::move(step);
}

BeforeToBool::~BeforeToBool() {
    beforeToBool = nullptr;
}

UnloadedLibraries::UnloadedLibraries() {
    listener = this;
}

UnloadedLibraries::~UnloadedLibraries() {
    listener = nullptr;
}

void noteUnloaded(const std::string& name) {
    if (listener != nullptr) {
        listener->unloaded.push_back(name);
    }
}

} // namespace rcvr_test

// The first of each pair is called in place of the second. The names are those of uString::toBool(const char*) and of
// the destructor of uDll.
extern "C" {

bool __real__ZN6VX_QRS7uString6toBoolEPKc(const char* text);
bool __wrap__ZN6VX_QRS7uString6toBoolEPKc(const char* text);
void __real__ZN6VX_QRS4uDllD1Ev(VX_QRS::uDll* library);
void __wrap__ZN6VX_QRS4uDllD1Ev(VX_QRS::uDll* library);

bool __wrap__ZN6VX_QRS7uString6toBoolEPKc(const char* text) {
    if (rcvr_test::beforeToBool) {
        rcvr_test::beforeToBool();
    }
    return __real__ZN6VX_QRS7uString6toBoolEPKc(text);
}

void __wrap__ZN6VX_QRS4uDllD1Ev(VX_QRS::uDll* library) {
    rcvr_test::noteUnloaded(library->getName());
    __real__ZN6VX_QRS4uDllD1Ev(library);
}
}
