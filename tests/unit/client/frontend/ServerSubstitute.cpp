#include "tests/unit/client/frontend/ServerSubstitute.h"

#include "client/frontend/FrontEnd_1.h"
#include "tests/support/register_model/RegisterModel.h"

namespace client_test {

namespace {

std::uint32_t clients = 0;
bool refusing = false;

VX_QRS::ORV::DataClient* create(std::uint32_t) {
    if (refusing) {
        return nullptr;
    }
    ++clients;
    return new register_model::RegisterModel;
}

void destroy(VX_QRS::ORV::DataClient* client) {
    --clients;
    delete client;
}

} // namespace

std::uint32_t serverClients() {
    return clients;
}

void refuseServer(bool refuse) {
    refusing = refuse;
}

} // namespace client_test

namespace VX_QRS::ORV::CLIENT {

// Linked instead of the data server's: what createFrontEnd makes needs no process.
DataClientFactory serverDataClient() {
    return {&client_test::create, &client_test::destroy};
}

} // namespace VX_QRS::ORV::CLIENT
