#pragma once

#include <string>

namespace rcvr_test {

/// A file that another program has open for itself alone, as far as the system knows such a thing.
class OpenElsewhere {
public:
    explicit OpenElsewhere(const std::string& file);
    OpenElsewhere(const OpenElsewhere&) = delete;
    OpenElsewhere& operator=(const OpenElsewhere&) = delete;
    ~OpenElsewhere();

    /// Whether others cannot open it meanwhile.
    static bool refusesOthers();

private:
    void* handle;
};

} // namespace rcvr_test
