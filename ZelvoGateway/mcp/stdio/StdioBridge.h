#pragma once

#include "ZelvoGateway/mcp/stdio/GatewayPlace.h"

namespace zelvo::service {

/// Joins a client on two descriptors, its messages one a line, to the "/mcp" of a running gateway. Returns
/// when the input has ended and everything is answered, or nobody reads the output any more. Throws
/// std::runtime_error with a text for the person who started the program if the gateway is not there, refuses
/// or goes.
void joinGateway(GatewayPlace const& place, int input, int output);

} // namespace zelvo::service
