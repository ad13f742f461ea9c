#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/net/TlsLayer.h"

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

namespace zelvo::service {

/// A certificate with its chain and its key, ready for connections.
struct TlsPair {
    std::shared_ptr<TlsContext> context;
    std::string certificate; ///< PEM, the server's own without the chain
    Date expires;
};

/// Why files can't be used for TLS; what() is for the person who runs the gateway and holds no secret.
struct TlsError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Reads the files, and accepts TLS 1.2 and later and HTTP/1.1 only. Throws TlsError if a file can't be read,
/// the two do not belong together, or everybody on this computer can read the key. Blocks for the disk.
TlsPair loadTlsPair(TlsFiles const& files);

/// What changes when a file is written or replaced.
struct FileStamp {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t bytes = 0;
    std::int64_t modified = 0; ///< nanoseconds
    std::int64_t changed = 0;  ///< nanoseconds
    bool operator==(FileStamp const&) const = default;
};

struct TlsStamp {
    FileStamp certificate;
    FileStamp key;
    bool operator==(TlsStamp const&) const = default;
};

/// All zero for a file that is not there. Blocks for the disk.
TlsStamp stampOf(TlsFiles const& files);

} // namespace zelvo::service
