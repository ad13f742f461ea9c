#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "gateway/support/ChildProcess.h"
#include "unit/system/TemporaryFolder.h"

#include <memory>
#include <string>

namespace zelvo::service {

/// A private S3-compatible store for all tests of one program: Ceph's own gateway with one monitor and one
/// daemon that keeps objects in memory. It has the bucket "films".
class CephStore {
public:
    /// `make test` installs Ceph where the system offers it; not every Linux does.
    static constexpr char const* whyAbsent = "Ceph is not installed";

    /// Started by the first call. Null if Ceph is not installed.
    static CephStore* shared();
    CephStore(CephStore const&) = delete;
    CephStore& operator=(CephStore const&) = delete;

    /// A place below a prefix that no other test has.
    S3Settings place();
    /// The same by TLS, with a certificate that nobody trusts but who is given certificate().
    S3Settings securePlace();
    std::string certificate() const { return folder.path / "certificate.pem"; }
    /// A file with credentials.
    std::string credentials(std::string const& access, std::string const& secret) const;

private:
    CephStore();
    static std::unique_ptr<CephStore> started();
    void start(std::vector<std::string> arguments);
    void run(std::vector<std::string> arguments);
    void writeConfiguration();

    TemporaryFolder folder;
    std::uint16_t monitorPort;
    std::uint16_t port;
    std::uint16_t securePort;
    std::vector<std::unique_ptr<ChildProcess>> daemons; // Ended in the reverse order.
    int places = 0;
};

} // namespace zelvo::service
