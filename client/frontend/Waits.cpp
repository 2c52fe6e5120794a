#include "client/frontend/Waits.h"

#include "common/source/source_utilities/uThread.h"

namespace VX_QRS::ORV::CLIENT {

namespace {

class SystemWaits final : public Waits {
public:
    void sleep(std::uint32_t milliseconds) override { uThread::sleep(milliseconds); }
};

} // namespace

Waits& systemWaits() {
    static SystemWaits waits;
    return waits;
}

} // namespace VX_QRS::ORV::CLIENT
