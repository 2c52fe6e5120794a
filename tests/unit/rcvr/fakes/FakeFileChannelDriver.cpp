#include "FakeControl.h"
#include "rcvr/framework/IFileReplay.h"

using namespace Vx::Qrs::Trace;

extern "C" {

FAKE_EXPORT IFileChannelDriver* CreateChannelDriver(const char* text) {
    fake::trace("CreateChannelDriver \"" + std::string(text) + "\"");
    return fake::behaviour("FAKE_FILE_DRIVER") == "null" ? nullptr : new IFileChannelDriver;
}

FAKE_EXPORT void DestroyChannelDriver(IFileChannelDriver* object) {
    fake::trace("DestroyChannelDriver");
    delete object;
}
}
