#include "bench/siblings/FileDataSource.h"

#include <gtest/gtest.h>

namespace bench {
namespace {

TEST(FileReplay, TheDataSourceKeepsTheDriverThatItReceives) {
    class Driver : public Vx::Qrs::Trace::IFileChannelDriver {};
    Driver driver;
    FileDataSource source;
    EXPECT_EQ(source.fileChannelDriver(), nullptr);
    source.setFileChannelDriver(&driver);
    EXPECT_EQ(source.fileChannelDriver(), &driver);
}

} // namespace
} // namespace bench
