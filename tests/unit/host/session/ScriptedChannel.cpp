#include "tests/unit/host/session/ScriptedChannel.h"

#include "rcvr/framework/cZarnError.h"
#include "tdf/TdfFile.h"

#include <fstream>

namespace host {

void ScriptedChannel::SaveFile(std::string path, unsigned format) {
    using Vx::Qrs::Trace::OrvRcvr::TdfFile;
    if (format == eSaveRaw) {
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char*>(samples.data()),
                   static_cast<std::streamsize>(samples.size() * sizeof samples.front()));
    } else {
        std::uint32_t offset = 0;
        std::uint32_t size = 0;
        TdfFile::beginSection(path.c_str(), "BinTraceData", 1, &offset);
        TdfFile::appendSectionData(path.c_str(), "BinTraceData", offset, samples.data(), sizeof samples.front(),
                                   static_cast<std::uint32_t>(samples.size()), &size);
    }
    if (announced > samples.size() || saveFails) {
        throw Vx::Qrs::Zarn::cZarnError("Internal error saving file", Vx::Qrs::Zarn::eSeverityError);
    }
}

} // namespace host
