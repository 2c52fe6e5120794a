#include "tests/unit/client/frontend/ChannelFixture.h"

#include <chrono>
#include <thread>

namespace client_test {

namespace {

RegisterModel* currentModel = nullptr;

VX_QRS::ORV::DataClient* createModel(std::uint32_t port) {
    if (currentModel != nullptr) {
        currentModel->note("create " + std::to_string(port));
    }
    return currentModel;
}

void destroyModel(VX_QRS::ORV::DataClient* client) {
    static_cast<RegisterModel*>(client)->note("destroy");
}

} // namespace

void expectFailure(const std::function<void()>& action, Status status, const std::string& detail) {
    try {
        action();
    } catch (const Exception& e) {
        EXPECT_EQ(e.status(), status) << e.what();
        EXPECT_EQ(e.detail(), detail);
        EXPECT_STREQ(e.file(), "orv_client_frontend");
        EXPECT_GT(e.line(), 0u);
        return;
    } catch (const std::exception& e) {
        FAIL() << "another failure: " << e.what();
    }
    FAIL() << "no failure, expected: " << detail;
}

DataClientFactory modelFactory(RegisterModel& model) {
    currentModel = &model;
    return {&createModel, &destroyModel};
}

const std::string registerDumpLine =
    "read 08000000 08000008 0800000c 0800000e 08008030 08008040 08008050"
    " 0800811e 08008100 08008102 08008104 08008106 08008108 0800810a 0800810c"
    " 0800813e 08008120 08008122 08008124 08008126 08008128 0800812a 0800812c"
    " 08008140 08008142 08008144 08008146 08008148 0800814a 0800814c 0800814e 08008150 08008152"
    " 08008158 0800815a 0800815c 0800815e"
    " 08001000 08001002 08001004 08001006 08001008 0800100c 08001010 08001012 08001014"
    " 08001080 08001082 08001084 08001086 08001088";

ChannelTest::ChannelTest()
    : stem(folder.file("trace")), propsPath(folder.file("props.txt")),
      frontEnd(std::make_unique<FrontEnd_1>(modelFactory(model), waits)),
      channel(std::make_unique<FrontEndChannel_1>(frontEnd.get(), &transmitter)) {
    model.clearLog();
}

ChannelTest::~ChannelTest() {
    channel.reset();
    frontEnd.reset();
    EXPECT_THAT(model.refusals(), testing::IsEmpty());
}

void ChannelTest::configure(const std::string& channelLines, const std::string& globalLines) {
    writeText(propsPath, "[Global]\n" + globalLines + "[Channel 0]\nfile=" + stem + "\n" + channelLines);
    frontEnd->setProperty("propsFile", propsPath.c_str());
    channel->setProperty("propsFile", propsPath.c_str());
}

void ChannelTest::openChannel(const std::string& moreLines) {
    configure("pinMap=0,1,2,3,4\n" + moreLines);
    channel->applySettings();
    model.clearLog();
}

void ChannelTest::openCalibrated(const std::string& moreLines) {
    openChannel(moreLines);
    inside().control().state = Calibrated;
}

void ChannelTest::remakeChannel() {
    channel.reset();
    channel = std::make_unique<FrontEndChannel_1>(frontEnd.get(), &transmitter);
}

void ChannelTest::beginRecording() {
    VX_QRS::uMutexLock lock(inside().mutex());
    inside().internalStart(0x400000, "stop", "none",
                           {.prepare = true, .enableTransmitter = true, .bypassProtocol = false});
}

void ChannelTest::measure(std::uint32_t frequency) {
    const std::string cpi = get("cpi");
    channel->setProperty("cpi", "43750000"); // one count per hertz with the unit's usual clocks
    model.set(0x080080F0, frequency & 0xFFFF);
    model.set(0x080080F2, frequency >> 16);
    channel->ovs(true, false);
    channel->setProperty("cpi", cpi.c_str());
    std::filesystem::remove(stem + ".cap.txt");
    model.clearLog();
}

bool ChannelTest::wasOpen() {
    model.clearLog();
    remakeChannel();
    return model.count(Call::CloseChannel) != 0;
}

void ChannelTest::waitUntilDone() {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!inside().control().threadDone) {
        ASSERT_LT(std::chrono::steady_clock::now(), limit) << "the control thread does not end";
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

ChannelMetrics ChannelTest::status() {
    ChannelMetrics metrics;
    channel->status(metrics);
    return metrics;
}

std::string ChannelTest::get(const char* name) {
    const char* value = nullptr;
    channel->getProperty(name, &value);
    return value == nullptr ? "(null)" : value;
}

} // namespace client_test
