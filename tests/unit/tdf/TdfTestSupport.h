#pragma once

#include "TestSupport.h"
#include "rcvr/framework/cZarnError.h"
#include "tdf/TdfFile.h"

#include <functional>
#include <string>

namespace tdf_test {

using rcvr_test::readBytes;
using rcvr_test::TemporaryFolder;
using rcvr_test::writeBytes;
using Vx::Qrs::Trace::OrvRcvr::TdfFile;
using Vx::Qrs::Trace::OrvRcvr::TdfSection;
using Vx::Qrs::Zarn::cZarnError;
using namespace std::string_literals;

inline std::string textOfFailure(const std::function<void()>& step) {
    try {
        step();
    } catch (const cZarnError& error) {
        EXPECT_EQ(error.GetSeverity(), Vx::Qrs::Zarn::eSeverityError);
        return error.GetErrorText();
    }
    return "no failure";
}

class TdfTest : public testing::Test {
protected:
    std::uint32_t begin(const char* name = "BinTraceData", std::uint32_t version = 1) {
        std::uint32_t offset = 77;
        TdfFile::beginSection(path.c_str(), name, version, &offset);
        return offset;
    }
    std::uint32_t append(std::uint32_t offset, const std::string& data, std::uint32_t elementSize = 8) {
        std::uint32_t size = 77;
        const auto count = static_cast<std::uint32_t>(data.size() / elementSize);
        TdfFile::appendSectionData(path.c_str(), "BinTraceData", offset, data.data(), elementSize, count, &size);
        return size;
    }

    TemporaryFolder folder;
    const std::string path = folder.file("trace.tdf");
};

} // namespace tdf_test
