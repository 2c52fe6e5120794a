#include "FrontEndDouble.h"

#include "common/source/Exception.h"

namespace rcvr_test {

FrontEndSource& frontEndSource() {
    static FrontEndSource source;
    return source;
}

MockChannel::MockChannel() {
    ON_CALL(*this, status).WillByDefault([this](client::ChannelMetrics& out) { out = metrics; });
}

void MockChannel::getProperty(const char* name, const char** value) {
    asked(name);
    if (nullProperties) {
        *value = nullptr;
        return;
    }
    const auto found = properties.find(name);
    if (found == properties.end()) {
        client::fail("orv_client_frontend", client::eNAME, name);
    }
    *value = found->second.c_str();
}

void MockFrontEnd::getProperty(const char* name, const char** value) {
    if (failing || std::string(name) != "maxChnls") {
        client::fail("orv_client_frontend", client::eNAME, name);
    }
    *value = maxChannels.c_str();
}

} // namespace rcvr_test

namespace VX_QRS::ORV::CLIENT {

FrontEnd* createFrontEnd() {
    auto& source = rcvr_test::frontEndSource();
    ++source.created;
    if (source.onCreate) {
        source.onCreate();
    }
    return source.frontEnd;
}

void destroyFrontEnd(FrontEnd* /*frontEnd*/) {
    auto& source = rcvr_test::frontEndSource();
    ++source.destroyed;
    if (source.onDestroy) {
        source.onDestroy();
    }
}

} // namespace VX_QRS::ORV::CLIENT
