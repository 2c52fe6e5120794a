#pragma once

namespace rcvr_test {

/// While it lives, allocations of the calling thread fail: the n-th from now (from 1), or that one and all after it. One
/// at a time.
class AllocationFault {
public:
    enum class Kind { Once, FromThenOn };

    AllocationFault(long n, Kind kind);
    AllocationFault(const AllocationFault&) = delete;
    AllocationFault& operator=(const AllocationFault&) = delete;
    ~AllocationFault();

    /// Memory is there between these two, and nothing is counted.
    void pause();
    void resume();

    /// Whether an allocation has failed.
    bool occurred() const;
};

} // namespace rcvr_test
