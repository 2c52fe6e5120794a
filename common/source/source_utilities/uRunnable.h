#pragma once

namespace VX_QRS {

/// The body of a thread.
class uRunnable {
public:
    virtual ~uRunnable() = default;
    virtual void run() = 0;
};

} // namespace VX_QRS
