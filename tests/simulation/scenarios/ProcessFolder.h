#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace simulation {

/// A new folder, in memory where the system has one; processFolder() is its path while it lives, also in a process that is
/// forked meanwhile. Two searches at a time, even with equal process numbers in two namespaces, have folders of their own.
class ProcessFolder {
public:
    ProcessFolder();
    ProcessFolder(const ProcessFolder&) = delete;
    ProcessFolder& operator=(const ProcessFolder&) = delete;
    ~ProcessFolder();

private:
    std::string before;
};

/// For the files of a schedule.
const std::string& processFolder();

std::vector<std::uint8_t> contentOf(const std::string& path);

} // namespace simulation
