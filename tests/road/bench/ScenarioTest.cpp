#include "tests/road/Orvtrace.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <sstream>

// Each scenario is run as a user would, and what comes of it is compared with what its author expects and with what
// the bench itself knows.

namespace {

using nlohmann::json;
using testing::HasSubstr;

std::vector<std::string> words(const std::string& text, char separator) {
    std::vector<std::string> all;
    std::istringstream in(text);
    for (std::string word; std::getline(in, word, separator);) {
        all.push_back(word);
    }
    return all;
}

class Scenarios : public testing::TestWithParam<const char*> {
protected:
    bool expects(const char* key) const { return !expect.at(key).is_null(); }
    std::string expected(const char* key) const { return expect.at(key).get<std::string>(); }

    void SetUp() override {
        const Outcome told = space.run({"scenarios", GetParam(), "--json"});
        ASSERT_EQ(told.code, 0) << told.errors;
        expect = told.json.at("scenarios").at(0).at("expect");
        std::vector<std::string> options{"--raw", space.file("raw.bin").string(), "--save",
                                         space.file("trace.tdf").string()};
        if (expects("options")) {
            for (const std::string& option : words(expected("options"), ' ')) {
                options.push_back(option);
            }
        }
        run = space.record(GetParam(), options);
        ASSERT_TRUE(run.json.is_object()) << "standard output: " << run.output << "\nstandard error: " << run.errors;
    }

    const json& calibration() const { return run.json.at("calibration"); }
    void checkFrequencies() const;
    void checkRecording() const;
    void checkSavedFiles() const;
    void checkEye() const;
    void checkNothingRecorded() const;

    RunSpace space;
    json expect;
    Outcome run;
};

/// The chosen and the rejected settings, and that the files of failed attempts stay.
void Scenarios::checkFrequencies() const {
    if (expects("setting")) {
        EXPECT_EQ(calibration().at("setting"), expect.at("setting"));
    }
    json rejected = json::array();
    for (const json& entry : calibration().at("frequencies")) {
        if (entry.at("verdict") == "rejected") {
            rejected.push_back(entry.at("setting"));
        }
    }
    if (expect.at("rejected").empty()) {
        return;
    }
    EXPECT_EQ(rejected, expect.at("rejected"));
    const std::filesystem::path folder = run.json.at("files").at("receiverFolder").get<std::string>();
    for (const json& setting : rejected) {
        for (const char* ending : {".cal.txt", ".cap.txt", ".reg.txt"}) {
            const auto file = folder / (std::string(GetParam()) + ".freq" + setting.dump() + ending);
            EXPECT_TRUE(std::filesystem::exists(file)) << file;
        }
    }
}

void Scenarios::checkRecording() const {
    const json& recording = run.json.at("recordings").back();
    if (expects("state")) {
        EXPECT_EQ(recording.at("state"), expected("state"));
    }
    if (expects("wrapped")) {
        EXPECT_EQ(recording.at("wrapped"), expect.at("wrapped"));
    }
    if (expects("bytes")) {
        EXPECT_EQ(recording.at("bytes"), expect.at("bytes"));
    }
    EXPECT_GT(recording.at("samples").get<unsigned>(), 0U);
}

/// The raw copy and the trace data file hold the very samples that were read back.
void Scenarios::checkSavedFiles() const {
    const std::string raw = readBytes(space.file("raw.bin"));
    EXPECT_EQ(raw.size(), run.json.at("recordings").back().at("bytes").get<std::size_t>());
    const std::string samples = readBytes(run.json.at("files").at("samples").get<std::string>());
    EXPECT_TRUE(raw == samples) << "the raw copy differs from the receiver's own file";
    const std::string saved = readBytes(space.file("trace.tdf"));
    ASSERT_GE(saved.size(), 32U);
    EXPECT_EQ(saved.substr(0, 8), std::string("TDF\x1A\x01\0\0\0", 8));
    EXPECT_EQ(saved.substr(20, 12), "BinTraceData");
    EXPECT_TRUE(saved.substr(32) == raw) << "the trace data file's section differs from the raw copy";
}

/// Every data pin is sampled inside the middle half of its eye, and all in the same bit.
void Scenarios::checkEye() const {
    const std::vector<json> truth = truthOf(run);
    ASSERT_FALSE(truth.empty());
    const json& last = truth.back();
    unsigned dataPins = 0;
    int slot = 0;
    for (const json& pin : last.at("pins")) {
        if (pin.at("proc") == 0) {
            continue;
        }
        EXPECT_GE(pin.at("fraction").get<double>(), 0.25) << pin;
        EXPECT_LE(pin.at("fraction").get<double>(), 0.75) << pin;
        EXPECT_LT(pin.at("error_rate").get<double>(), 1e-9) << pin;
        if (dataPins++ == 0) {
            slot = pin.at("slot").get<int>();
        }
        EXPECT_EQ(pin.at("slot").get<int>(), slot) << pin;
    }
    EXPECT_EQ(dataPins + 1, calibration().at("pins").size());
}

void Scenarios::checkNothingRecorded() const {
    EXPECT_TRUE(run.json.at("recordings").empty());
    EXPECT_FALSE(std::filesystem::exists(space.file("raw.bin")));
    EXPECT_FALSE(std::filesystem::exists(space.file("trace.tdf")));
    EXPECT_THAT(run.output, testing::Not(HasSubstr("\"verdict\": \"accepted\"")));
}

TEST_P(Scenarios, EndAsTheirAuthorSays) {
    ASSERT_EQ(run.json.at("outcome"), expected("outcome")) << run.errors << run.output;
    EXPECT_EQ(run.code, run.json.at("exitCode").get<int>());
    if (expects("message")) {
        EXPECT_THAT(run.json.at("error").at("text").get<std::string>(), HasSubstr(expected("message")));
    }
    checkFrequencies();
    // A fault in what was recorded is the verdict's, and no failure.
    if (expected("outcome") != "done" && expected("outcome") != "faults-found") {
        EXPECT_THAT(run.errors, HasSubstr("orvtrace: " + run.json.at("error").at("text").get<std::string>()));
        checkNothingRecorded();
        return;
    }
    EXPECT_EQ(withoutProgress(run.errors), "");
    EXPECT_TRUE(calibration().at("calibrated").get<bool>());
    checkRecording();
    checkSavedFiles();
    if (expects("eye")) {
        checkEye();
    }
}

const std::vector<const char*> tested{
    "clean",        "bench-cable",   "step-down", "slow",     "one-pin",          "two-pin",
    "tpiu",         "tpiulite",      "self-test", "no-clock", "too-fast",         "too-many-bits",
    "stuck-pin",    "swapped-pins",  "glitches",  "wrap",     "stop-on-full",     "stop-by-user",
    "trigger-file", "bad-memory",    "memory",    "coupling", "half-period-peak", "cut-window",
    "late-lane",    "late-lane-cold"};

INSTANTIATE_TEST_SUITE_P(Bench, Scenarios, testing::ValuesIn(tested),
                         [](const testing::TestParamInfo<const char*>& scenario) {
                             std::string name = scenario.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

TEST(ScenarioList, HasNoScenarioThatIsNotTested) {
    const RunSpace space;
    const Outcome told = space.run({"scenarios", "--json"});
    ASSERT_EQ(told.code, 0) << told.errors;
    std::vector<std::string> names;
    for (const json& scenario : told.json.at("scenarios")) {
        names.push_back(scenario.at("name"));
    }
    EXPECT_THAT(names, testing::UnorderedElementsAreArray(tested));
}

} // namespace
