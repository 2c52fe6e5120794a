#include "tests/simulation/scenarios/doubles/ServerSubstitute.h"

#include "mpx/MpxEcomServer/DataClient.h"

namespace simulation {

namespace {

VX_QRS::ORV::DataClient* substitute = nullptr;

} // namespace

void substituteServer(VX_QRS::ORV::DataClient* client) {
    substitute = client;
}

VX_QRS::ORV::CLIENT::DataClientFactory substituteFactory() {
    return {[](std::uint32_t) { return substitute; }, [](VX_QRS::ORV::DataClient*) {}};
}

} // namespace simulation

namespace VX_QRS::ORV::CLIENT {

// Linked in place of the data server's.
DataClientFactory serverDataClient() {
    return simulation::substitute != nullptr ? simulation::substituteFactory()
                                             : DataClientFactory{createDataClient, destroyDataClient};
}

} // namespace VX_QRS::ORV::CLIENT
