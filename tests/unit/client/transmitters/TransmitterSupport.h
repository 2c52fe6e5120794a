#pragma once

#include "client/FrontEnd.h"
#include "client/transmitters/TransmitterBase_1.h"
#include "common/source/Exception.h"
#include "common/source/source_utilities/PropertyParser.h"
#include "tests/support/register_model/RegisterModel.h"
#include "tests/support/scratch/LogCapture.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/unit/client/transmitters/XmtrLibraryMock.h"

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
using test_support::linesOf;
using test_support::readText;
using test_support::TemporaryFolder;

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
class LogCapture : public test_support::LogCapture {
public:
    /// Functions of the transmitters' source unit whose entry was logged.
    std::vector<std::string> functions() const { return test_support::LogCapture::functions("orv_client_transmitter"); }
};

/// Expects an Exception of that status and detail from the transmitters' source unit.
void expectFailure(const std::function<void()>& action, Status status, const std::string& detail);

std::string get(Transmitter& transmitter, const char* name);

/// The name by which the factory knows the pattern now set is not visible; its first words are. Feeds the words to the
/// pattern and says whether it takes them for its own.
bool accepts(Pattern& pattern, const std::vector<std::uint16_t>& words);

} // namespace transmitter_test
