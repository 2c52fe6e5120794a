#include "common/source/source_utilities/uEnvironment.h"
#include "tests/contract/Contract.h"

#include <filesystem>

namespace contract {

using VX_QRS::uEnvironment;

const char* const program = "contract_program";

void run(const std::function<void()>& body) {
    body();
}

ProgramFolder::ProgramFolder() : before(uEnvironment::get("PATH")) {
    const std::filesystem::path self(testing::internal::GetArgvs().front());
    const std::string folder = std::filesystem::absolute(self).parent_path().string();
    const std::string divider = std::string(uEnvironment::separator()) == "/" ? ":" : ";";
    uEnvironment::set("PATH", (folder + divider + before).c_str());
}

ProgramFolder::~ProgramFolder() {
    uEnvironment::set("PATH", before.c_str());
}

} // namespace contract
