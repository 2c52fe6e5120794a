#include "common/source/source_utilities/uLog.h"
#include "pinmap/SiblingCall.h"
#include "rcvr/ChannelDriver.h"
#include "rcvr/Error.h"
#include "rcvr/Receiver.h"

#include <exception>
#include <new>
#include <utility>

// Construction and teardown: sibling libraries, their objects and the front end.

namespace Vx::Qrs::Trace::OrvRcvr {

using VX_QRS::logEntry;
using VX_QRS::uDll;
using VX_QRS::ORV::CLIENT::createFrontEnd;
using VX_QRS::ORV::CLIENT::destroyFrontEnd;

namespace {

template <class Function>
Function symbol(uDll* library, const char* name) {
    return library != nullptr ? reinterpret_cast<Function>(library->GetSymbol(name)) : nullptr;
}

// Runs every step and keeps the first failure for the end.
class Steps {
public:
    template <class Step>
    void run(Step&& step) {
        try {
            std::forward<Step>(step)();
        } catch (...) {
            if (!first) {
                first = std::current_exception();
            }
        }
    }

    void finish() {
        if (first) {
            std::rethrow_exception(first);
        }
    }

private:
    std::exception_ptr first;
};

} // namespace

Receiver::Receiver() {
    logEntry(receiverUnit, "Vx::Qrs::Trace::OrvRcvr::Receiver::Receiver");
    try {
        acquire();
    } catch (...) {
        // Releases what was acquired. The first failure is more specific than one of the teardown; keep it.
        try {
            TearDown();
        } catch (...) {
        }
        throw;
    }
}

Receiver::~Receiver() {
    try {
        TearDown();
    } catch (...) { // callers that need failures call TearDown before
    }
}

void Receiver::acquire() {
    LoadPartIdentifierLibrary();
    try {
        LoadFileLibraries();
    } catch (const Error&) { // no replay then; the error is in the log
    }
    frontEnd = createFrontEnd();
    if (frontEnd == nullptr) {
        throwError(receiverUnit, eNullParameter);
    }
    partIdentifier = callSibling(createPartIdentifier);
    if (partIdentifier == nullptr) {
        throwError(receiverUnit, eNullParameter);
    }
}

void Receiver::LoadSiblingLibrary(const char* name, uDll** out) {
    logEntry(receiverUnit, "Vx::Qrs::Trace::OrvRcvr::Receiver::LoadSiblingLibrary");
    if (out == nullptr) {
        throwError(receiverUnit, eNullParameter);
    }
    *out = new (std::nothrow) uDll;
    if (*out == nullptr) {
        throwError(receiverUnit, eNoMemory);
    }
    if (!(*out)->FindAndLoad(name, -1)) {
        throwError(receiverUnit, eNoLibrary, name);
    }
}

void Receiver::LoadPartIdentifierLibrary() {
    logEntry(receiverUnit, "Vx::Qrs::Trace::OrvRcvr::Receiver::LoadPartIdentifierLibrary");
    if (partIdentifierLibrary != nullptr) {
        return;
    }
    LoadSiblingLibrary("PartIdentifier", &partIdentifierLibrary);
    createPartIdentifier = symbol<CreatePartIdentifierFunction>(partIdentifierLibrary, "CreatePartIdentifier");
    destroyPartIdentifier = symbol<DestroyPartIdentifierFunction>(partIdentifierLibrary, "DestroyPartIdentifier");
    if (createPartIdentifier == nullptr || destroyPartIdentifier == nullptr) {
        throwError(receiverUnit, eNoLibrary, "missing exports in device identifier dll");
    }
}

void Receiver::LoadFileLibraries() {
    logEntry(receiverUnit, "Vx::Qrs::Trace::OrvRcvr::Receiver::LoadFileLibraries");
    // Once only: a second load would lose the first one's objects.
    if (dataSourceLibrary != nullptr) {
        return;
    }
    LoadSiblingLibrary("OrvDataSource", &dataSourceLibrary);
    LoadSiblingLibrary("AmbitFileChannelDriver", &fileChannelDriverLibrary);

    const auto createDriver = symbol<CreateChannelDriverFunction>(fileChannelDriverLibrary, "CreateChannelDriver");
    if (createDriver == nullptr) {
        throwError(receiverUnit, eNoLibrary, "missing exports in file channel driver dll");
    }
    fileChannelDriver = callSibling([&] { return createDriver(""); });
    if (fileChannelDriver == nullptr) {
        throwError(receiverUnit, eNoMemory, "failed to allocate file channel driver");
    }
    try {
        makeFileDataSource();
    } catch (...) {
        // The teardown destroys the driver only together with a data source.
        destroyFileChannelDriver();
        throw;
    }
    callSibling([&] { fileDataSource->setFileChannelDriver(fileChannelDriver); });
}

void Receiver::makeFileDataSource() {
    const auto createSource = symbol<CreateDataSourceFunction>(dataSourceLibrary, "CreateDataSource");
    if (createSource == nullptr) {
        throwError(receiverUnit, eNoLibrary, "missing exports in file data source dll");
    }
    fileDataSource = callSibling([&] { return createSource(""); });
    if (fileDataSource == nullptr) {
        throwError(receiverUnit, eNoMemory, "failed to allocate file data source");
    }
}

void Receiver::destroyFileChannelDriver() {
    IFileChannelDriver* driver = std::exchange(fileChannelDriver, nullptr);
    const auto destroy = symbol<DestroyChannelDriverFunction>(fileChannelDriverLibrary, "DestroyChannelDriver");
    if (destroy != nullptr) {
        callSibling([&] { destroy(driver); });
    }
}

void Receiver::TearDown() {
    if (!std::exchange(tornDown, true)) {
        logEntry(receiverUnit, "Vx::Qrs::Trace::OrvRcvr::Receiver::~Receiver");
    }
    Steps steps;
    // Each pointer is taken out before what it points to goes, so that a failure cannot make a step run twice.
    for (ChannelDriver* driver : std::exchange(drivers, {})) {
        steps.run([&] { delete driver; });
    }
    steps.run([&] {
        if (auto* object = std::exchange(frontEnd, nullptr)) {
            destroyFrontEnd(object);
        }
    });
    steps.run([&] {
        if (auto* object = std::exchange(partIdentifier, nullptr)) {
            callSibling([&] { destroyPartIdentifier(object, 0); });
        }
    });
    if (IFileDataSource* source = std::exchange(fileDataSource, nullptr)) {
        steps.run([&] { destroyFileChannelDriver(); });
        steps.run([&] {
            const auto destroy = symbol<DestroyDataSourceFunction>(dataSourceLibrary, "DestroyDataSource");
            if (destroy != nullptr) {
                callSibling([&] { destroy(source); });
            }
        });
    }
    delete std::exchange(fileChannelDriverLibrary, nullptr);
    delete std::exchange(dataSourceLibrary, nullptr);
    delete std::exchange(partIdentifierLibrary, nullptr);
    steps.finish();
}

} // namespace Vx::Qrs::Trace::OrvRcvr
