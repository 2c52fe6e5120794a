#include "common/source/source_utilities/textFile.h"

#include <array>
#include <cstdio>
#include <memory>

namespace VX_QRS::textFile {

bool read(const std::string& path, std::string& text) {
    struct Closer {
        void operator()(std::FILE* stream) const { std::fclose(stream); }
    };
    const std::unique_ptr<std::FILE, Closer> file(std::fopen(path.c_str(), "r"));
    if (!file) {
        return false;
    }
    text.clear();
    std::array<char, 65536> block;
    for (;;) {
        const std::size_t count = std::fread(block.data(), 1, block.size(), file.get());
        text.append(block.data(), count);
        if (count < block.size()) {
            // Some systems open a directory and only then refuse to read it.
            return !(text.empty() && std::ferror(file.get()) != 0);
        }
    }
}

bool takeLine(std::string_view& text, std::string_view ends, std::string_view::size_type limit,
              std::string_view& line) {
    if (text.empty()) {
        return false;
    }
    const std::string_view head = text.substr(0, limit);
    const std::string_view::size_type end = head.find_first_of(ends);
    if (end == std::string_view::npos) {
        line = head;
        text.remove_prefix(head.size());
    } else {
        line = head.substr(0, end);
        text.remove_prefix(end + 1);
    }
    return true;
}

} // namespace VX_QRS::textFile
