#include "tests/simulation/scenarios/receiver/ReceiverRig.h"

#include "common/source/source_utilities/uThread.h"
#include "rcvr/framework/cZarnError.h"
#include "tdf/TdfFile.h"
#include "tests/simulation/faults/Faults.h"
#include "tests/simulation/faults/Quiet.h"
#include "tests/simulation/scenarios/ProcessFolder.h"
#include "tests/simulation/scenarios/Scenario.h"
#include "tests/simulation/scenarios/doubles/ServerSubstitute.h"
#include "tests/simulation/scenarios/receiver/Siblings.h"
#include "tests/support/transmitter/IdleXmtrLibrary.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <utility>

namespace simulation {

using namespace Vx::Qrs::Trace;
using OrvRcvr::TdfFile;

namespace {

constexpr std::uint32_t pollInterval = 20; // milliseconds
constexpr std::size_t sampleSize = 8;

const std::string settingsText = "<CHANNEL-SETUP>\n"
                                 "<no_emu0>false</no_emu0>\n<drm_type></drm_type>\n<drm_key></drm_key>\n"
                                 "<num_pins>4</num_pins>\n<pin_map></pin_map>\n"
                                 "<is_stop_on_full>true</is_stop_on_full>\n<is_sync>true</is_sync>\n"
                                 "<bufsize_current>0</bufsize_current>\n<drm_xmtr>pti</drm_xmtr>\n"
                                 "<start_port>0</start_port>\n</CHANNEL-SETUP>\n";

std::string settingsPath() {
    return processFolder() + "/channel.xml";
}

bool isBusy(const ChannelStatus& status) {
    const bool isUploading = status.text.find("uploading data") != std::string::npos;
    return status.code == ChannelStatus::eBusy || (isUploading && status.code != ChannelStatus::eError);
}

/// The user's own file: unchanged, or kept beside the one that replaced it.
bool settingsAreKept() {
    for (const auto& entry : std::filesystem::directory_iterator(processFolder())) {
        const std::vector<std::uint8_t> content =
            entry.is_regular_file() ? contentOf(entry.path().string()) : std::vector<std::uint8_t>{};
        if (std::string(content.begin(), content.end()) == settingsText) {
            return true;
        }
    }
    return false;
}

} // namespace

ReceiverRig::ReceiverRig()
    : client(bench.client()), transmitterLibrary(std::make_unique<test_support::IdleXmtrLibrary>()) {
    std::filesystem::remove_all(processFolder());
    std::filesystem::create_directories(processFolder());
    std::ofstream(settingsPath()) << settingsText;
    setenv("USERPROFILE", processFolder().c_str(), 1);
    install(siblingLibraries());
    substituteServer(&client);
    create();
}

ReceiverRig::~ReceiverRig() {
    if (object == nullptr && Faults::instance().haveFailed()) {
        Faults::instance().end();
        create();
        expect(isReady(), "no recovery", "no receiver without a fault");
    }
    deleteUnlisted();
    attempt("DestroyRcvr", [&] { DestroyRcvr(object); });
    substituteServer(nullptr);
    expect(settingsAreKept(), "settings lost", "no file has the user's settings any more");
}

void ReceiverRig::create() {
    attempt("CreateRcvr", [&] {
        object = CreateRcvr();
        driver = object->AllocateChannel(cpuName, transmitterLibrary.get(), 0, 0);
    });
}

bool ReceiverRig::attempt(const char* name, const std::function<void()>& operation) {
    const ProductCall product;
    try {
        operation();
        return true;
    } catch (const Vx::Qrs::Zarn::cZarnError& error) {
        const Quiet quiet;
        expect(std::strlen(error.GetErrorText()) != 0, "error without a text", "exception");
        expect(Faults::instance().haveFailed(), "exception without a fault",
               std::string(name) + ": " + error.GetErrorText());
    } catch (const std::exception& exception) {
        const Quiet quiet;
        expect(false, "foreign exception", std::string(name) + ": " + exception.what());
    }
    return false;
}

bool ReceiverRig::configure() {
    const std::string path = settingsPath();
    return attempt("SetConfiguration", [&] { driver->SetConfiguration(path.c_str()); });
}

bool ReceiverRig::start() {
    return attempt("StartRecording", [&] { driver->StartRecording(false); });
}

bool ReceiverRig::stop() {
    return attempt("StopRecording", [&] { driver->StopRecording(); });
}

ChannelStatus ReceiverRig::look() {
    ChannelStatus status;
    const bool answered = attempt("GetChannelStatus", [&] { driver->GetChannelStatus(&status); });
    return answered ? status : ChannelStatus{};
}

void ReceiverRig::awaitEnd() {
    for (ChannelStatus status = look(); isBusy(status); status = look()) {
        VX_QRS::uThread::sleep(pollInterval);
    }
}

void ReceiverRig::judge(const std::vector<std::uint8_t>& bytes, const char* what) {
    const std::vector<std::uint8_t>& sent = client.delivered();
    if (bytes.size() >= sent.size() && std::equal(sent.begin(), sent.end(), bytes.begin()) &&
        bytes.size() - sent.size() < sampleSize) {
        return;
    }
    const bool told = look().code == ChannelStatus::eError;
    expect(told || Faults::instance().haveFailed(), "lost data",
           std::string(what) + ": " + std::to_string(bytes.size()) + " of " + std::to_string(sent.size()) + " bytes");
}

void ReceiverRig::saveAndJudge(unsigned format) {
    const std::string path = processFolder() + "/saved.tdf";
    TdfFile::createFile(path.c_str());
    std::string argument = path; // copied by the caller, whose memory does not fail
    if (!attempt("SaveFile", [&] { driver->SaveFile(std::move(argument), format); })) {
        return;
    }
    if (format == CChannelDriver::eSaveRaw) {
        judge(contentOf(path), "saved");
    }
}

std::vector<std::uint8_t> ReceiverRig::readAll() {
    constexpr unsigned piece = 4096;
    std::vector<std::uint8_t> bytes;
    std::array<std::uint64_t, piece> samples{};
    unsigned count = piece;
    for (unsigned at = 0; count == piece; at += count) {
        count = 0;
        attempt("SeekReadTraceData", [&] { driver->SeekReadTraceData(at, piece, samples.data(), &count); });
        const auto* first = reinterpret_cast<const std::uint8_t*>(samples.data());
        bytes.insert(bytes.end(), first, first + count * sampleSize);
    }
    return bytes;
}

void ReceiverRig::readAndJudge() {
    judge(readAll(), "read");
}

void ReceiverRig::readWhileUploading() {
    const std::vector<std::uint8_t> bytes = readAll();
    const std::vector<std::uint8_t>& sent = client.delivered();
    const std::size_t common = std::min(bytes.size(), sent.size());
    expect(std::equal(sent.begin(), sent.begin() + static_cast<std::ptrdiff_t>(common), bytes.begin()) ||
               Faults::instance().haveFailed(),
           "wrong data", "read during the upload");
}

void ReceiverRig::release() {
    deleteUnlisted();
    attempt("ReleaseChannel", [&] { object->ReleaseChannel(driver); });
    driver = nullptr;
}

void ReceiverRig::deleteUnlisted() {
    if (driver != nullptr && Faults::instance().haveFailed() && object->GetNumAttachedCpus() == 0) {
        attempt("delete", [&] { delete std::exchange(driver, nullptr); });
    }
}

} // namespace simulation
