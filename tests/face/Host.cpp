#include "Host.h"

#include <chrono>
#include <fstream>
#include <iterator>
#include <thread>

namespace face {

namespace fs = std::filesystem;

namespace {

constexpr auto pollInterval = std::chrono::milliseconds(5);
constexpr unsigned attempts = 20;

} // namespace

std::string readBytes(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

void writeBytes(const fs::path& file, const std::string& bytes) {
    std::ofstream(file, std::ios::binary | std::ios::trunc) << bytes;
}

std::string failureOf(const std::function<void()>& step) {
    try {
        step();
    } catch (const cZarnErrorIF& error) {
        return std::string(error.GetTitle()) + "(" + std::to_string(static_cast<unsigned>(error.GetSeverity())) +
               "): " + error.GetErrorText();
    } catch (const std::exception& error) {
        ADD_FAILURE() << "not of the framework's family: " << error.what();
        return error.what();
    } catch (...) {
        ADD_FAILURE() << "not of the framework's family";
        return "unknown";
    }
    return "";
}

RunSpace& RunSpace::get() {
    static RunSpace space;
    return space;
}

RunSpace::RunSpace() {
    const auto now = std::chrono::system_clock::now().time_since_epoch().count();
    folder = fs::temp_directory_path() / ("orv-face-" + std::to_string(processId()) + "-" + std::to_string(now));
    fs::create_directories(folder / "bench");
    folder.make_preferred();
    setVariable("USERPROFILE", folder.string());
    setVariable("HOME", folder.string());
    setVariable("COMMON_HELIX", programs().string());
    setVariable("ORV_BENCH_DIR", (folder / "bench").string());
    setVariable("ORV_BENCH_PLAY", "");
    setVariable("VX_TRACE_DEBUGCLIENT_PID", "");
    setVariable("VX_TRACE_LOGGING", "1");
}

RunSpace::~RunSpace() {
    if (!getVariable("ORV_KEEP_RUNS").empty()) {
        return;
    }
    std::error_code none;
    fs::remove_all(folder, none);
}

fs::path RunSpace::log() const {
    for (const auto& entry : fs::directory_iterator(folder / ".VX-trace")) {
        if (entry.path().filename().string().rfind("vx_trace_log_", 0) == 0) {
            return entry.path();
        }
    }
    return {};
}

fs::path RunSpace::programs() const {
    return fs::absolute(FACE_PROGRAM_FOLDER).make_preferred();
}

void RunSpace::useScenario(const std::string& name) const {
    setVariable("ORV_BENCH_SCENARIO", (programs() / "scenarios" / (name + ".toml")).make_preferred().string());
}

FaceTest::FaceTest() : space(RunSpace::get()) {
    void* const library = loadLibrary("OrvRcvr");
    void* const transmitters = loadLibrary("zarn_xmtr");
    createRcvr = function<CreateRcvrFunction>(library, "CreateRcvr");
    destroyRcvr = function<DestroyRcvrFunction>(library, "DestroyRcvr");
    createXmtr = function<CreateXmtrFunction>(transmitters, "CreateXmtr");
    destroyXmtr = function<DestroyXmtrFunction>(transmitters, "DestroyXmtr");
}

FaceTest::~FaceTest() {
    destroy();
}

void FaceTest::create(const std::string& scenario) {
    ASSERT_TRUE(createRcvr != nullptr && destroyRcvr != nullptr && createXmtr != nullptr && destroyXmtr != nullptr);
    space.useScenario(scenario);
    // On a busy machine the server's process is visible before it listens: a connection is refused at once.
    std::string failure;
    for (unsigned attempt = 0; attempt != attempts && receiver == nullptr; ++attempt) {
        failure = failureOf([this] { receiver = createRcvr(); });
    }
    ASSERT_NE(receiver, nullptr) << failure;
}

void FaceTest::allocate(const char* cpu) {
    xmtr = createXmtr(0, 0);
    ASSERT_NE(xmtr, nullptr);
    channel = receiver->AllocateChannel(cpu, xmtr, 0, 0);
    ASSERT_NE(channel, nullptr);
}

void FaceTest::destroy() {
    channel = nullptr;
    if (receiver != nullptr) {
        destroyRcvr(receiver);
    }
    receiver = nullptr;
    if (xmtr != nullptr) {
        destroyXmtr(xmtr);
    }
    xmtr = nullptr;
}

fs::path FaceTest::writeSettings(const Changes& changes, const std::string& name) {
    static const std::pair<const char*, const char*> keys[] = {
        {"no_emu0", "false"}, {"drm_type", ""},         {"drm_key", ""},
        {"num_pins", "1"},    {"pin_map", ""},          {"is_stop_on_full", "true"},
        {"is_sync", "false"}, {"bufsize_current", "0"}, {"drm_xmtr", "pti"},
        {"start_port", "0"},
    };
    std::string text = "<CHANNEL-SETUP>\n";
    for (const auto& [key, value] : keys) {
        const auto change = changes.find(key);
        text.append("\t<").append(key).append(">").append(change != changes.end() ? change->second : value);
        text.append("</").append(key).append(">\n");
    }
    text += "</CHANNEL-SETUP>\n";
    const fs::path file = space.file(name);
    writeBytes(file, text);
    return file;
}

void FaceTest::configure(const Changes& changes) {
    const std::string file = writeSettings(changes).string();
    ASSERT_EQ(failureOf([&] { channel->SetConfiguration(file.c_str()); }), "");
}

ChannelStatus FaceTest::status() {
    ChannelStatus status;
    channel->GetChannelStatus(&status);
    return status;
}

std::string FaceTest::attribute(const std::string& name) {
    TraceAttribute answer;
    channel->GetAttribute(name.c_str(), &answer);
    EXPECT_EQ(name, answer.name);
    return answer.value;
}

void FaceTest::waitFor(const std::string& part) {
    while (status().text.find(part) == std::string::npos) {
        std::this_thread::sleep_for(pollInterval);
    }
}

void FaceTest::recordUntilFull() {
    channel->StartRecording(false);
    waitFor("upload complete");
}

} // namespace face
