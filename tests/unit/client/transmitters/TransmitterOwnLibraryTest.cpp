#include "client/transmitters/TransmitterZarn_1.h"
#include "common/source/source_utilities/uEnvironment.h"
#include "tests/unit/client/transmitters/TransmitterSupport.h"

#include <memory>

// A target's transmitter that is given no library, with stand-ins for the two libraries that it loads.

namespace transmitter_test {

using testing::ElementsAre;
using VX_QRS::uEnvironment;

namespace {

class TransmitterOwnLibraryTest : public testing::Test {
protected:
    TransmitterOwnLibraryTest() : path(uEnvironment::get("PATH")) {
        uEnvironment::set("FAKE_TRACE", trace().c_str());
        uEnvironment::set("FAKE_XMTR", "");
        uEnvironment::set("FAKE_ADAPTER", "");
    }
    ~TransmitterOwnLibraryTest() override {
        uEnvironment::set("PATH", path.c_str());
        uEnvironment::set("FAKE_TRACE", "");
    }

    std::string trace() const { return folder.file("trace.txt"); }
    std::vector<std::string> calls() const { return linesOf(trace()); }

    /// Puts these variants, and no others, where libraries are looked for.
    void install(const std::string& xmtr, const std::string& adapter) {
        const std::filesystem::path place = folder.path / ("installed" + std::to_string(++installations));
        std::filesystem::create_directories(place);
        for (const std::string& variant : {xmtr, adapter}) {
            if (variant.empty()) {
                continue;
            }
            for (const auto& entry : std::filesystem::directory_iterator(CLIENT_TEST_FAKES "/" + variant)) {
                if (entry.path().extension() == ".dll" || entry.path().extension() == ".so") {
                    std::filesystem::copy_file(entry.path(), place / entry.path().filename());
                }
            }
        }
        uEnvironment::set("PATH", place.string().c_str());
    }

    std::unique_ptr<TransmitterZarn_1> make() {
        return std::make_unique<TransmitterZarn_1>(&frontEnd, "Cortex_7", nullptr, 1, 6, 0, nullptr);
    }

    TemporaryFolder folder;
    std::string path;
    int installations = 0;
    FrontEndStub frontEnd;
};

} // namespace

TEST_F(TransmitterOwnLibraryTest, LoadsBothLibrariesAndGivesBothObjectsBack) {
    install("xmtr", "adapter");
    {
        const auto transmitter = make();
        transmitter->shutdown();
        EXPECT_EQ(transmitter->numFrequencySettings(), 3u);
        EXPECT_THAT(calls(), ElementsAre("CreateXmtr 0 0", "NewTargetAdapter Cortex_7", "shutdownPort 6"));
    }
    EXPECT_THAT(calls(), ElementsAre("CreateXmtr 0 0", "NewTargetAdapter Cortex_7", "shutdownPort 6", "DestroyXmtr",
                                     "FreeTargetAdapter"));
}

TEST_F(TransmitterOwnLibraryTest, ClosesTheLinkBeforeTheLibraryGoes) {
    install("xmtr", "adapter");
    const PropertiesFile properties("[Global]\norv=unit7\n");
    {
        const auto transmitter = make();
        transmitter->applySettings();
        EXPECT_EQ(get(*transmitter, "drmXmtr"), "pti");
    }
    EXPECT_THAT(calls(), ElementsAre("CreateXmtr 0 0", "NewTargetAdapter Cortex_7", "closeChannel 6", "DestroyXmtr",
                                     "FreeTargetAdapter"));
}

TEST_F(TransmitterOwnLibraryTest, WithoutTheTransmitterLibraryTheLoadersTextIsGiven) {
    install("", "adapter");
    expectFailure([&] { make(); }, eXMTR, "failed to load zarn_xmtr with error code 126");
    EXPECT_THAT(calls(), ElementsAre());
}

TEST_F(TransmitterOwnLibraryTest, WithoutCreateXmtrItFails) {
    install("xmtr_nocreate", "adapter");
    expectFailure([&] { make(); }, eXMTR, "failed to look up CreateXmtr");
    EXPECT_THAT(calls(), ElementsAre());
}

TEST_F(TransmitterOwnLibraryTest, ALibraryThatMakesNothingFails) {
    install("xmtr", "adapter");
    uEnvironment::set("FAKE_XMTR", "nothing");
    expectFailure([&] { make(); }, eXMTR, "failed to create Transmitter");
    EXPECT_THAT(calls(), ElementsAre("CreateXmtr 0 0"));
}

TEST_F(TransmitterOwnLibraryTest, WithoutTheAdapterLibraryTheObjectIsGivenBack) {
    install("xmtr", "");
    expectFailure([&] { make(); }, eXMTR, "failed to load HaloTargetAdapter with error code 126");
    EXPECT_THAT(calls(), ElementsAre("CreateXmtr 0 0", "DestroyXmtr"));
}

TEST_F(TransmitterOwnLibraryTest, WithoutNewTargetAdapterTheObjectIsGivenBack) {
    install("xmtr", "adapter_nonew");
    expectFailure([&] { make(); }, eXMTR, "failed to look up NewTargetAdapter");
    EXPECT_THAT(calls(), ElementsAre("CreateXmtr 0 0", "DestroyXmtr"));
}

TEST_F(TransmitterOwnLibraryTest, WithoutAnAdapterThePersonIsToldWhatToCheck) {
    install("xmtr", "adapter");
    uEnvironment::set("FAKE_ADAPTER", "nothing");
    expectFailure(
        [&] { make(); }, eXMTR,
        "failed to create TargetAdapter : check that the debugger is running and connected to the correct tap");
    EXPECT_THAT(calls(), ElementsAre("CreateXmtr 0 0", "NewTargetAdapter Cortex_7", "DestroyXmtr"));
}

TEST_F(TransmitterOwnLibraryTest, AnObjectThatCannotBeGivenBackIsLogged) {
    install("xmtr_nodestroy", "adapter");
    const LogCapture log;
    make();
    EXPECT_THAT(log.lines('E'),
                ElementsAre("ORV Receiver : eXMTR:(11) : transmitter failure : failed to look up DestroyXmtr"));
    EXPECT_THAT(calls(), ElementsAre("CreateXmtr 0 0", "NewTargetAdapter Cortex_7", "FreeTargetAdapter"));
}

TEST_F(TransmitterOwnLibraryTest, AnAdapterThatCannotBeGivenBackIsLogged) {
    install("xmtr", "adapter_nofree");
    const LogCapture log;
    make();
    EXPECT_THAT(
        log.lines('E'),
        ElementsAre("ORV Receiver : eXMTR:(11) : transmitter failure : failed to look up dll FreeTargetAdapter"));
    EXPECT_THAT(calls(), ElementsAre("CreateXmtr 0 0", "NewTargetAdapter Cortex_7", "DestroyXmtr"));
}

TEST_F(TransmitterOwnLibraryTest, AHandedOverLibraryIsNeitherLoadedNorFreed) {
    install("xmtr", "adapter");
    testing::StrictMock<MockXmtrLibrary> library;
    {
        const TransmitterZarn_1 transmitter(&frontEnd, "Cortex_7", &library, 1, 6, 0, nullptr);
    }
    EXPECT_THAT(calls(), ElementsAre());
}

} // namespace transmitter_test
