#pragma once

#include "common/source/source_utilities/uSocket.h"

#include <optional>
#include <string>

namespace bench {

/// The simulated siblings' own line to the bench's server: one line of ASCII per request, one back, `ok`, `ok VALUE` or
/// `err TEXT`. The server writes the port that it listens on into a file; the file is read when the first request is
/// made, and again when the connection turns out to be gone, since a new server has a new port. One thread at a time.
class SideConnection {
public:
    /// The port file's name is in the narrow encoding of the process that has loaded the library. `answerLimit`:
    /// milliseconds to wait for an answer before the server counts as gone.
    explicit SideConnection(std::string portFile, int answerLimit = 10000);

    /// The answer's value (empty when it has none), or nothing when there is no server or it answered `err`; the reason
    /// is then in lastError().
    std::optional<std::string> request(const std::string& line);
    const std::string& lastError() const { return error; }

private:
    bool connect();
    bool exchange(const std::string& line, std::string& answer);

    std::string file;
    int limit;
    VX_QRS::uSocket socket;
    std::string error;
};

} // namespace bench
