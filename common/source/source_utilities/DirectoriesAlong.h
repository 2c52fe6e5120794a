#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace VX_QRS {

/// A platform's syntax of paths.
struct PathRules {
    std::string_view separators;
    bool hasDrives; // a name that ends in ":" is a drive
};

/// The directories to create so that all of `path` exists, from the outermost on, each as the beginning of `path` up to
/// the end of a name: nothing is normalised, so the two separators at the start of a network path are kept. Drives are
/// left out.
std::vector<std::string> directoriesAlong(std::string_view path, const PathRules& rules);

} // namespace VX_QRS
