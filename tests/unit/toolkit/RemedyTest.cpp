#include "toolkit/Remedy.h"

#include <gmock/gmock.h>

namespace toolkit {
namespace {

using testing::HasSubstr;

TEST(Remedies, AreChosenByTheReceiversText) {
    EXPECT_THAT(remedyOf(ExitCode::NoSystem, "data server failure : failed to connect to data server"),
                HasSubstr("mpx_ecom_server"));
    EXPECT_THAT(remedyOf(ExitCode::NoSystem, "dll load failure : PartIdentifier"), HasSubstr("receiver's folder"));
    EXPECT_THAT(remedyOf(ExitCode::CalibrationRefused, "failed to find a pin map with at least 4 data pins for app."),
                HasSubstr("orvtrace pins"));
    EXPECT_THAT(remedyOf(ExitCode::NoSystem, "Internal error.  Failed to return CPU info from target adapter."),
                HasSubstr("CPU's full name"));
    EXPECT_EQ(remedyOf(ExitCode::OutputExists, "x exists already; choose another name or give --force"), "");
    EXPECT_EQ(remedyOf(ExitCode::Interrupted, "interrupted"), "");
}

TEST(Remedies, TheDoctorIsNamedAsItCanBeTyped) {
    const std::string text = "failed to calibrate channel : clock margin too low";
    EXPECT_EQ(remedyOf(ExitCode::CalibrationRefused, text, "orvtrace-clean"),
              "orvtrace doctor orvtrace-clean shows why");
    EXPECT_EQ(remedyOf(ExitCode::CalibrationRefused, text, "my runs/one"), "orvtrace doctor \"my runs/one\" shows why");
    EXPECT_EQ(remedyOf(ExitCode::CalibrationRefused, text), "") << "there is nothing to look at";
}

TEST(Remedies, ASentenceIsFollowedByOne) {
    testing::internal::CaptureStderr();
    printFailure(ExitCode::CalibrationRefused, "This device is not supported by the receiver.");
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("receiver. Check the CPU's"));
}

TEST(Remedies, AFailureIsOneLine) {
    testing::internal::CaptureStderr();
    printFailure(ExitCode::BadInput, "first\nsecond");
    printFailure(ExitCode::CalibrationRefused, "the map is not valid for this device : 4,5 as a pin map.");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "orvtrace: first\norvtrace: the map is not valid for this device : 4,5 as a pin map. orvtrace pins lists "
              "the pins of this device\n");
}

} // namespace
} // namespace toolkit
