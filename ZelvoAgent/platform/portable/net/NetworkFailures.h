#pragma once

#include "platform/WebSocket.h"

#include <boost/system/error_code.hpp>

namespace zelvo {

/// The kind of failure for a socket's errno.
NetworkFailure::Kind failureKindOfErrno(int error);

/// The failure for an error of a socket, the name service or TLS. The text is the system's and contains
/// nothing that we sent.
NetworkFailure failureOf(boost::system::error_code const& error);

} // namespace zelvo
