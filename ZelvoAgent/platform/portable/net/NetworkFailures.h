#pragma once

#include "platform/WebSocket.h"

#include <boost/system/error_code.hpp>

namespace zelvo {

/// What an errno of a socket means for the link.
NetworkFailure::Kind failureKindOfErrno(int error);

/// What an error of a socket, of the name service or of TLS means for the link. The text is the system's; it
/// holds nothing that we sent.
NetworkFailure failureOf(boost::system::error_code const& error);

} // namespace zelvo
