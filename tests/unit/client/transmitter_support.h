#pragma once

#include "client/FrontEnd.h"
#include "client/transmitters/TransmitterBase_1.h"
#include "common/source/Exception.h"
#include "common/source/source_utilities/PropertyParser.h"
#include "rcvr/framework/IXmtrLibrary.h"
#include "tests/support/register_model/RegisterModel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace transmitter_test {

using namespace VX_QRS::ORV::CLIENT;
using register_model::Call;
using register_model::RegisterModel;

/// As much of a front end as transmitters look at: a unit and a number of channels.
class FrontEndStub : public FrontEnd {
public:
    void setProperty(const char*, const char*) override {}
    void getProperty(const char*, const char**) override {}
    FrontEndChannel* alloc(const char*, Vx::Qrs::Trace::IXmtrLibrary*, std::uint32_t, std::uint32_t, std::uint32_t,
                           const ChannelSettings*) override {
        return nullptr;
    }
    void release(FrontEndChannel*) override {}
    std::uint32_t numChannels() override { return channels; }
    FrontEndChannel* getChannel(std::uint32_t) override { return nullptr; }
    VX_QRS::ORV::DataClient* getDataClient() override { return &model; }

    std::uint32_t channels = 0;
    RegisterModel model;
};

class MockXmtrLibrary : public Vx::Qrs::Trace::IXmtrLibrary {
public:
    MOCK_METHOD(int, closeChannel, (unsigned), (override));
    MOCK_METHOD(int, programChannel, (unsigned), (override));
    MOCK_METHOD(int, enablePort, (unsigned), (override));
    MOCK_METHOD(int, flushBuffer, (unsigned), (override));
    MOCK_METHOD(int, shutdownPort, (unsigned), (override));
    MOCK_METHOD(int, setTestMode, (unsigned, unsigned, unsigned), (override));
    MOCK_METHOD(int, applyFrequency, (unsigned, unsigned), (override));
    MOCK_METHOD(int, setExportFrameSize, (unsigned, unsigned), (override));
    MOCK_METHOD(int, getNumFrequencySettings, (unsigned, unsigned*), (override));
    MOCK_METHOD(int, allocatePin, (unsigned, unsigned, unsigned, unsigned, unsigned), (override));
    MOCK_METHOD(int, setStallCpu, (unsigned, bool), (override));
    MOCK_METHOD(int, releasePin, (unsigned, unsigned, unsigned), (override));
    MOCK_METHOD(int, setPortWidth, (unsigned, unsigned), (override));
    MOCK_METHOD(int, setFunctionMode, (unsigned, unsigned), (override));
    MOCK_METHOD(int, getExportFrameLimits, (unsigned, unsigned*, unsigned*), (override));
    MOCK_METHOD(int, getTraceStatus, (unsigned, std::uint32_t*), (override));
    MOCK_METHOD(int, clearTraceStatus, (unsigned, std::uint32_t), (override));
    MOCK_METHOD(int, getCharacter, (unsigned, std::uint32_t*), (override));
    MOCK_METHOD(int, applyEnd, (unsigned, bool), (override));
    MOCK_METHOD(int, setCycleAccurate, (unsigned, bool), (override));
    MOCK_METHOD(int, setMonitorCprt, (unsigned, bool), (override));
    MOCK_METHOD(int, setNoDataTraceOnFifoFull, (unsigned, bool), (override));
    MOCK_METHOD(int, getTransmitterKind, (unsigned, unsigned*), (override));
    MOCK_METHOD(int, setOption, (unsigned, unsigned), (override));
    MOCK_METHOD(int, enablePins, (unsigned), (override));
};

/// A folder of its own, gone with the object.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string file(const std::string& name) const { return (path / name).string(); }

    std::filesystem::path path;
};

std::string readText(const std::string& path);
std::vector<std::string> linesOf(const std::string& path);

/// The shared parser with a file in it, for as long as the object lives.
class PropertiesFile {
public:
    explicit PropertiesFile(const std::string& text);
    ~PropertiesFile();
    PropertiesFile(const PropertiesFile&) = delete;
    PropertiesFile& operator=(const PropertiesFile&) = delete;

private:
    TemporaryFolder folder;
    PropertyParser* parser;
};

/// What was logged since the object was made.
class LogCapture {
public:
    LogCapture();
    /// Lines of a class ("M", "F", "E"), without class and time.
    std::vector<std::string> lines(const std::string& kind) const;
    /// Functions whose entry was logged, without namespaces, arguments and line.
    std::vector<std::string> functions() const;

private:
    std::size_t from;
};

/// Expects an Exception of that status and detail from the transmitters' source unit.
void expectFailure(const std::function<void()>& action, Status status, const std::string& detail);

std::string get(Transmitter& transmitter, const char* name);

/// The name by which the factory knows the pattern now set is not visible; its first words are. Feeds the words to the
/// pattern and says whether it takes them for its own.
bool accepts(Pattern& pattern, const std::vector<std::uint16_t>& words);

} // namespace transmitter_test
