#pragma once

#include "common/source/source_utilities/uSocket.h"

#include <optional>
#include <string>

namespace bench {

/// The simulated siblings' connection to the bench's server: one line of ASCII per request, one back, `ok`, `ok VALUE`
/// or `err TEXT`. The server writes the port that it listens on into a file, which is read at the first request and
/// again after the connection was lost, since a new server has a new port. One thread at a time.
class SideConnection {
public:
    /// The port file's name is in the narrow encoding of the process that has loaded the library. `answerLimit`:
    /// milliseconds to wait for an answer before the connection counts as lost.
    explicit SideConnection(std::string portFile, int answerLimit = 10000);

    /// The answer's value, an empty text when it has none. Empty when there is no server or it answered `err`;
    /// lastError() then has the reason.
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
