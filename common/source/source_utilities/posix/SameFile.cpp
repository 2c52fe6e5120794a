#include "common/source/source_utilities/SameFile.h"

#include <sys/stat.h>

namespace VX_QRS {

bool sameFile(const char* path, const char* other) {
    struct stat one{};
    struct stat two{};
    return stat(path, &one) == 0 && stat(other, &two) == 0 && one.st_dev == two.st_dev && one.st_ino == two.st_ino;
}

} // namespace VX_QRS
