#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace test_support {

/// Number of files, sockets and other system objects that this process has open.
std::size_t countOpenHandles();

/// Names of the files, sockets and pipes that this process has open, null devices excluded. Empty on Windows, which has
/// no such list.
std::vector<std::string> listOpenFiles();

} // namespace test_support
