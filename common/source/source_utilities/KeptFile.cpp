#include "common/source/source_utilities/KeptFile.h"

#include "common/source/source_utilities/NativeFile.h"
#include "common/source/source_utilities/SameFile.h"
#include "common/source/source_utilities/TextFile.h"
#include "common/source/source_utilities/source_utilities_error.h"
#include "common/source/source_utilities/uString.h"

#include <utility>

namespace VX_QRS {

using nativeFile::Outcome;

KeptFile::KeptFile(const std::string& path, std::string_view suffix, std::string_view replacement)
    : file(nativeFile::follow(path)) {
    if (nativeFile::kindOf(file) != nativeFile::Kind::regular) {
        return;
    }
    // A write-protected file will not be replaced. A moment later it may be possible again, with nothing kept.
    if (!nativeFile::isWritable(file)) {
        throw source_utilities_error(textFile::openFailure(path, "writing"));
    }
    std::string content;
    const bool readable = textFile::readWhole(file, content);
    if (readable) {
        std::string plain = content;
        uString::replace(plain, "\r\n", "\n");
        if (plain == replacement) {
            return;
        }
    }
    for (int number = 1; name.empty(); ++number) {
        std::string candidate = file;
        candidate.append(suffix);
        if (number > 1) {
            candidate.append(".").append(std::to_string(number));
        }
        std::string earlier;
        const bool same = readable && textFile::readWhole(candidate, earlier) && earlier == content;
        if (same || keepAs(candidate)) {
            name = std::move(candidate); // without an allocation: nothing may fail once the file has moved
        }
    }
}

// False when the name exists.
bool KeptFile::keepAs(const std::string& candidate) {
    made = Made::link;
    Outcome outcome = nativeFile::link(file, candidate);
    if (outcome == Outcome::refused) {
        made = Made::move;
        outcome = nativeFile::move(file, candidate);
    }
    if (outcome == Outcome::done) {
        return true;
    }
    made = Made::nothing;
    if (outcome == Outcome::refused) {
        throw source_utilities_error("failed to keep \"" + file + "\" as \"" + candidate + "\", file not replaced");
    }
    return false;
}

KeptFile::~KeptFile() {
    if (made == Made::move) {
        nativeFile::move(name, file);
    } else if (made == Made::link && sameFile(file.c_str(), name.c_str())) {
        // Otherwise another process has replaced the file, and this is the only copy.
        nativeFile::remove(name);
    }
}

} // namespace VX_QRS
