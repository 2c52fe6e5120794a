#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace test_support {

/// What the product logged since the object was made. The process has one log, in a folder of its own; the first object
/// opens it.
class LogCapture {
public:
    LogCapture();

    /// Function entries are logged as well, from the process's start on. Costs time.
    class WithEntries {
    public:
        WithEntries();
    };

    /// Lines of a class ('M', 'F', 'E', …), without class and time. The number behind a source unit is "#".
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
