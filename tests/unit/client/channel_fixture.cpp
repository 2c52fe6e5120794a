#include "tests/unit/client/channel_fixture.h"

#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uLog.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <fstream>
#include <random>
#include <sstream>
#include <thread>

namespace client_test {

namespace {

RegisterModel* currentModel = nullptr;

VX_QRS::ORV::DataClient* createModel(std::uint32_t port) {
    if (currentModel != nullptr)
        currentModel->note("create " + std::to_string(port));
    return currentModel;
}

void destroyModel(VX_QRS::ORV::DataClient* client) {
    static_cast<RegisterModel*>(client)->note("destroy");
}

/// The process's log, in a folder of its own for as long as the program runs.
class ProcessLog {
public:
    ProcessLog() {
        VX_QRS::uEnvironment::set("CLIENT_TEST_LOG_LEVEL", "1");
        VX_QRS::uEnvironment::set("CLIENT_TEST_LOG_DIR", folder.path.string().c_str());
        VX_QRS::getLogManager()->open("client_test_log", "CLIENT_TEST_LOG_LEVEL", "CLIENT_TEST_LOG_DIR", false);
    }
    ~ProcessLog() {
        // An open file could not be removed everywhere.
        if (VX_QRS::uLogger* logger = VX_QRS::getLogManager()->getLogger(); logger != nullptr)
            logger->setEnabled(false);
    }

    TemporaryFolder folder;
};

std::string logPath() {
    static const ProcessLog log;
    return log.folder.file("client_test_log");
}

/// Puts "#" in place of the number behind the source unit.
std::string withoutLineNumber(std::string message) {
    const std::string unit = "orv_client_frontend:";
    const std::size_t found = message.find(unit);
    if (found != std::string::npos) {
        const std::size_t begin = found + unit.size();
        const std::size_t end = std::min(message.find_first_not_of("0123456789", begin), message.size());
        if (end > begin)
            message.replace(begin, end - begin, 1, '#');
    }
    return message;
}

} // namespace

TemporaryFolder::TemporaryFolder() {
    static std::atomic<unsigned> count{0};
    const auto seed = std::random_device{}();
    const std::string given = VX_QRS::uEnvironment::get("ORV_CLIENT_TEST_TEMP");
    const auto base = given.empty() ? std::filesystem::temp_directory_path() : std::filesystem::path(given);
    path = base / ("orv_client_" + std::to_string(seed) + "_" + std::to_string(count++));
    std::filesystem::create_directories(path);
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

std::string readText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

void writeText(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

bool exists(const std::string& path) {
    return std::filesystem::exists(path);
}

LogCapture::LogCapture() {
    std::error_code none;
    const std::uintmax_t size = std::filesystem::file_size(logPath(), none);
    from = none ? 0 : size;
}

std::vector<std::string> LogCapture::lines(char kind) const {
    std::istringstream text(readText(logPath()).substr(static_cast<std::size_t>(from)));
    std::vector<std::string> found;
    for (std::string line; std::getline(text, line);) {
        const std::size_t bar = line.find(" | ");
        if (bar == std::string::npos || line.substr(0, 5).find(kind) == std::string::npos)
            continue;
        std::string message = withoutLineNumber(line.substr(bar + 3));
        if (!message.empty() && message.back() == '\r')
            message.pop_back();
        found.push_back(message);
    }
    return found;
}

std::vector<std::string> LogCapture::strip(const std::vector<std::string>& full) {
    const std::string head = "ORV Receiver (orv_client_frontend:#) ";
    std::vector<std::string> stripped;
    for (const std::string& line : full) {
        if (line.starts_with(head))
            stripped.push_back(line.substr(head.size()));
    }
    return stripped;
}

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
    inside().internalStart(0x400000, "stop", "none", true, true, false);
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
