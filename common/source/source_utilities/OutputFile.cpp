#include "common/source/source_utilities/OutputFile.h"

namespace VX_QRS {

namespace {

const char* modeText(OutputFile::Mode mode) {
    switch (mode) {
    case OutputFile::Mode::appendedText:
        return "a";
    case OutputFile::Mode::binary:
        return "wb";
    case OutputFile::Mode::text:
        break;
    }
    return "w";
}

} // namespace

OutputFile::OutputFile(const std::string& path, Mode mode) : stream(std::fopen(path.c_str(), modeText(mode))) {}

bool OutputFile::write(const void* data, std::size_t size) {
    return noted(stream != nullptr && std::fwrite(data, 1, size, stream.get()) == size);
}

bool OutputFile::flush() {
    return noted(stream != nullptr && std::fflush(stream.get()) == 0);
}

bool OutputFile::close() {
    noted(stream != nullptr && std::fclose(stream.release()) == 0);
    return complete;
}

bool OutputFile::noted(bool succeeded) {
    complete = complete && succeeded;
    return succeeded;
}

} // namespace VX_QRS
