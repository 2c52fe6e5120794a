#pragma once

#include "client/frontend/FrontEnd_1.h"

namespace simulation {

/// What the process's front end gets in place of the data server's client; without one it gets the server's.
void substituteServer(VX_QRS::ORV::DataClient* client);

/// The factory of that client.
VX_QRS::ORV::CLIENT::DataClientFactory substituteFactory();

} // namespace simulation
