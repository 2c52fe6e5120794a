#include "tests/support/json_schema/JsonSchema.h"

#include <gmock/gmock.h>

// The check of printed objects against their schemas, which most tests of orvtrace rely on.

namespace {

using test_support::schemaFaults;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string failure = R"({"schema": 1, "outcome": "bad-input", "exitCode": 3,
                                "error": {"text": "it is not there", "where": null, "remedy": null}})";

TEST(PublishedSchemas, FitWhatIsPrinted) {
    EXPECT_THAT(schemaFaults("pins", failure), IsEmpty());
}

TEST(PublishedSchemas, NameTheMemberThatDoesNotFit) {
    EXPECT_THAT(schemaFaults("pins", R"({"schema": 1, "outcome": "bad-input", "exitCode": 3, "error": "why"})"),
                HasSubstr("error: 'why' is not"));
    EXPECT_THAT(schemaFaults("pins", failure), IsEmpty()) << "after one that did not fit";
}

TEST(PublishedSchemas, AreForObjectsThatCanBeRead) {
    EXPECT_THAT(schemaFaults("pins", "{\"schema\": 1"), HasSubstr("delimiter"));
    EXPECT_THAT(schemaFaults("pins", ""), HasSubstr("Expecting value"));
    EXPECT_THAT(schemaFaults("pins", "\"\xFF\""), HasSubstr("utf-8"));
    EXPECT_THAT(schemaFaults("pins", "[\n\n]"), HasSubstr("is not valid under any"));
}

TEST(PublishedSchemas, AreOneForEachCommand) {
    EXPECT_THAT(schemaFaults("none", failure), HasSubstr("none.schema.json"));
}

} // namespace
