#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace VX_QRS::test {

// How many files, sockets and other objects of the system this process holds open.
std::size_t countOpenHandles();

// The names of the files, sockets and pipes that this process has open beyond null devices; empty on systems that do
// not tell.
std::vector<std::string> listOpenFiles();

} // namespace VX_QRS::test
