#include "common/source/Exception.h"
#include "common/source/source_utilities/PropertyParser.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace VX_QRS {
namespace {

// Property files are read in text mode.
TEST(TextMode, AByte1AEndsAPropertyFile) {
    const test_support::TemporaryFolder folder;
    ORV::CLIENT::PropertyParser_1 parser;
    parser.readFile(folder
                        .write("file", "[A]\r\nk=1\r\n\x1A"
                                       "l=2\r\n")
                        .c_str());
    parser.setSection("A");
    EXPECT_EQ(parser.countLines(), 1U);
}

} // namespace
} // namespace VX_QRS
