#include "benchmarks/framework/StubUnit.h"

#include "common/source/Exception.h"

using namespace VX_QRS::ORV::CLIENT;

StubUnit& StubUnit::get() {
    static StubUnit unit;
    return unit;
}

void StubUnit::getProperty(const char* name, const char** value) {
    const std::string key = name;
    if (key == "file") {
        *value = fileStem.c_str();
    } else if (key == "maxChnls" || key == "orvBufSize") {
        *value = "1";
    } else {
        fail("orv_client_frontend", eNAME, name);
    }
}

void StubUnit::status(ChannelMetrics& out) {
    out = {};
    out.state = Idle;
    out.threadDone = true;
    out.bytesTotal = bytes;
}

namespace VX_QRS::ORV::CLIENT {

FrontEnd* createFrontEnd() {
    return &StubUnit::get();
}

void destroyFrontEnd(FrontEnd* /*frontEnd*/) {}

} // namespace VX_QRS::ORV::CLIENT
