#pragma once

#include "rcvr/framework/IFileReplay.h"

namespace bench {

/// Keeps the file channel driver that it is introduced to.
class FileDataSource : public Vx::Qrs::Trace::IFileDataSource {
public:
    void setFileChannelDriver(Vx::Qrs::Trace::IFileChannelDriver* given) override { driver = given; }
    Vx::Qrs::Trace::IFileChannelDriver* fileChannelDriver() const { return driver; }

private:
    Vx::Qrs::Trace::IFileChannelDriver* driver = nullptr;
};

} // namespace bench
