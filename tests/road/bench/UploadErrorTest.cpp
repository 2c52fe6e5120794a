#include "tests/road/Orvtrace.h"

#include <gmock/gmock.h>

// An error after the stop, while the unit's buffer is uploaded: the samples received are kept, and the receiver's reason is
// reported. The first request is the one of the calibration's verification.

namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/// `action` with its further keys, at the request of the recording's data.
std::string faultyUpload(const std::string& action, const std::string& buffer = "6") {
    return "cpu = \"bench/app\"\n[settings]\nbuffer = " + buffer +
           "\nstop_on_full = true\n[transmitter]\nfrequencies = [50e6]\n"
           "[server]\nspeed = 50\n[[faults.at]]\ncommand = \"r\"\nnth = 2\naction = " +
           action + "\n";
}

class UploadError : public testing::Test {
protected:
    Outcome record(const std::string& scenario) {
        return space.record(space.write("upload.toml", scenario).string(),
                            {"--until-full", "--raw", raw.string(), "--save", saved.string()});
    }

    const RunSpace space;
    const std::filesystem::path raw = space.file("x.bin");
    const std::filesystem::path saved = space.file("x.tdf");
};

TEST_F(UploadError, WhatCameBeforeTheConnectionEndedIsKept) {
    // Past the end of the first reply, which is not all of the 16 MiB.
    constexpr unsigned recorded = 16 << 20;
    const Outcome run = record(faultyUpload("\"cut\"\nbyte = " + std::to_string(recorded)));
    EXPECT_EQ(run.code, 6) << run.errors;
    const auto& recording = run.json.at("recordings").back();
    const auto bytes = recording.at("bytes").get<std::uint64_t>();
    EXPECT_GT(bytes, 0U);
    EXPECT_LT(bytes, recorded);
    EXPECT_EQ(recording.at("samples"), bytes / 8);
    EXPECT_NE(recording.at("crc32"), 0);
    EXPECT_EQ(std::filesystem::file_size(raw), bytes);
    const Outcome list = space.run({"tdf", "list", "--json", saved.string()});
    ASSERT_EQ(list.code, 0) << list.errors;
    EXPECT_EQ(list.json.at("sections").at(0).at("dataSize"), bytes);
    EXPECT_EQ(run.json.at("error").at("text"),
              "disconnected from server; the " + std::to_string(bytes / 8) + " samples that came are kept");
    EXPECT_THAT(run.json.at("files").at("raw").at(0).get<std::string>(), HasSubstr("x.bin"));
}

TEST_F(UploadError, TheReceiversReasonComesFirstWhateverEndedTheUpload) {
    const std::vector<std::pair<std::string, std::string>> faults{
        {"\"die\"", "disconnected from server"},
        {"\"close\"", "disconnected from server"},
        {"\"error_reply\"", "internal rsp error"},
        {"\"garbage\"\ntext = \"nonsense\"", "invalid rsp response"},
    };
    for (const auto& [action, reason] : faults) {
        const RunSpace own;
        const Outcome run = own.record(own.write("upload.toml", faultyUpload(action)).string(),
                                       {"--until-full", "--raw", own.file("x.bin").string()});
        EXPECT_EQ(run.code, 6) << action << run.errors;
        EXPECT_EQ(run.json.at("error").at("text"), reason + "; no samples came");
        EXPECT_THAT(withoutProgress(run.errors), StartsWith("orvtrace: " + reason));
        EXPECT_THAT(run.errors, Not(HasSubstr("disk")));
        EXPECT_FALSE(std::filesystem::exists(own.file("x.bin"))) << "nothing came";
    }
}

TEST_F(UploadError, AnErrorThatCostNothingIsToldAllTheSame) {
    // The smallest buffer comes whole with the reply that the error is in.
    const Outcome run =
        record(faultyUpload("\"error_record\"\ncode = 7\ntext = \"overrun\"\ndetail = \"port 2\"", "0"));
    EXPECT_EQ(run.code, 6) << run.errors;
    EXPECT_EQ(run.json.at("recordings").back().at("samples"), 32768);
    EXPECT_EQ(run.json.at("error").at("text"),
              "data server error (7) : overrun : port 2; the 32768 samples that came are kept");
    EXPECT_EQ(std::filesystem::file_size(raw), 262144U);
    EXPECT_EQ(space.run({"tdf", "list", saved.string()}).code, 0);
}

} // namespace
