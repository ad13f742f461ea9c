#pragma once

#include "ZelvoGateway/base/DataFolder.h"

namespace zelvo::service {

// Files of the data folder by which programs on this computer find the gateway that runs.

constexpr char const* addressFile = "address";
constexpr char const* localAddressFile = "local-address"; ///< for programs on this computer
constexpr char const* metricsFile = "metrics-address";
constexpr char const* certificateFile = "tls-certificate.pem"; ///< by which they know the gateway

/// None of them may outlive the gateway, or its port.
inline void removeAddresses(DataFolder const& folder)
{
    for (char const* const file : {addressFile, localAddressFile, certificateFile, metricsFile})
        folder.remove(file);
}

} // namespace zelvo::service
