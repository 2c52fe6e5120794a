#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace test_support {

/// Log lines of the product since the object's construction. The process has one log, in a folder of its own; the first
/// object opens it.
class LogCapture {
public:
    LogCapture();

    /// Also logs function entries, from the process's start on. Slow.
    class WithEntries {
    public:
        WithEntries();
    };

    /// Lines of a class ('M', 'F', 'E', …), without class and time. The number after a source unit is "#".
    std::vector<std::string> lines(char kind) const;
    std::vector<std::string> messages() const { return lines('M'); }
    std::vector<std::string> errors() const { return lines('E'); }
    /// The messages (or errors) that begin with "ORV Receiver (orv_client_frontend:#) ", without that.
    std::vector<std::string> steps() const;
    std::vector<std::string> errorSteps() const;
    /// Functions of a source unit whose entry was logged, without namespaces, arguments and line.
    std::vector<std::string> functions(const std::string& unit) const;

private:
    std::uintmax_t from;
};

} // namespace test_support
