#include "FakeControl.h"
#include "rcvr/framework/IFileReplay.h"

using namespace Vx::Qrs::Trace;

namespace {

const fake::NotesItsUnloading unloading("OrvDataSource");

class DataSource : public IFileDataSource {
public:
    void setFileChannelDriver(IFileChannelDriver* driver) override {
        fake::trace(driver != nullptr ? "setFileChannelDriver" : "setFileChannelDriver null");
    }
};

} // namespace

extern "C" {

FAKE_EXPORT IFileDataSource* CreateDataSource(const char* text) {
    fake::trace("CreateDataSource \"" + std::string(text) + "\"");
    return fake::behaviour("FAKE_DATA_SOURCE") == "null" ? nullptr : new DataSource;
}

FAKE_EXPORT void DestroyDataSource(IFileDataSource* object) {
    delete object;
    fake::trace("DestroyDataSource");
}
}
