#include "toolkit/JsonText.h"
#include "toolkit/Masked.h"

#include <gtest/gtest.h>

namespace toolkit {
namespace {

TEST(JsonText, IsAsciiWithoutControlCharactersAndKeepsItsValue) {
    const std::string odd = "a\x1b\x7f\xc2\x9b\xc2\xa0\xc3\xbc\n";
    const std::string text = jsonText({{"name", odd}});
    EXPECT_EQ(maskedLines(text), text);
    EXPECT_EQ(text.find_first_of("\x7f\xc2\xc3"), std::string::npos);
    EXPECT_EQ(nlohmann::json::parse(text).at("name"), odd);
}

TEST(JsonText, BytesThatAreNoTextAreReplaced) {
    EXPECT_EQ(nlohmann::json::parse(jsonText("a\xff")), "a\xef\xbf\xbd");
}

TEST(JsonText, MissingValuesAreNull) {
    EXPECT_EQ(orNull(std::optional<int>(3)), 3);
    EXPECT_TRUE(orNull(std::optional<int>()).is_null());
    EXPECT_EQ(orNull(std::string("x")), "x");
    EXPECT_TRUE(orNull(std::string()).is_null());
}

TEST(JsonText, PinsHaveTheNamesThatBurstAccepts) {
    EXPECT_EQ(pinKey(0), "clock");
    EXPECT_EQ(pinKey(4), "data4");
}

TEST(JsonText, EveryObjectBeginsWithSchemaOutcomeAndError) {
    EXPECT_EQ(resultHead(ExitCode::FaultsFound),
              nlohmann::json({{"schema", 1}, {"outcome", "faults-found"}, {"exitCode", 10}, {"error", nullptr}}));
    const nlohmann::json failed = failureJson(Failure(ExitCode::CalibrationRefused, "too low", "a.cpp:3"), "run");
    EXPECT_EQ(failed.at("outcome"), "calibration-refused");
    EXPECT_EQ(failed.at("error"),
              nlohmann::json({{"text", "too low"}, {"where", "a.cpp:3"}, {"remedy", "orvtrace doctor run shows why"}}));
    EXPECT_TRUE(failureJson(Failure(ExitCode::Failed, "x")).at("error").at("remedy").is_null());
}

} // namespace
} // namespace toolkit
