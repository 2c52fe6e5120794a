#include "client/frontend/FrontEnd_1.h"
#include "mpx/MpxEcomServer/DataClient.h"

namespace VX_QRS::ORV::CLIENT {

// Alone in its file, so that a program with a data client of its own can link without the server's.
DataClientFactory serverDataClient() {
    return {&createDataClient, &destroyDataClient};
}

} // namespace VX_QRS::ORV::CLIENT
