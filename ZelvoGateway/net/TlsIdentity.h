#pragma once

#include "ZelvoGateway/net/TlsPair.h"
#include "base/Clock.h"
#include "base/Task.h"

#include <functional>
#include <optional>
#include <string>

namespace zelvo::service {

/// The certificate and key of the gateway. A new pair in the files takes the place of the old without a
/// restart; one that can't be used leaves the old one in place.
/// Thread: the server's; files are read on the workers.
class TlsIdentity {
public:
    /// Reads the files. Throws TlsError.
    /// log      gets a line for the person who runs the gateway if something needs attention
    TlsIdentity(TlsFiles files, Executor workers, std::function<void(std::string const&)> log);

    TlsPair const& pair() const { return present; }
    /// Takes the new pair if the files have changed. If they can't be used, it tries again once they change
    /// again, and returns why not; otherwise an empty text.
    /// replace   puts the new pair into use; if it throws, so does this, and everything stays as it was
    Task<std::string> refresh(std::function<void(TlsPair const&)> replace);
    /// Why the files can't be used as they were last seen; empty if they are in use.
    std::string const& problem() const { return wrong; }
    /// Logs the end of the certificate if it is near, once for each day.
    void noteExpiry(Date today);

private:
    /// What a look at changed files gave.
    struct Found {
        TlsStamp stamp;
        std::optional<TlsPair> pair;
        std::string problem; ///< if there is no pair
    };

    static std::optional<Found> look(TlsFiles const& files, TlsStamp const& seen);

    TlsFiles files;
    Executor workers;
    std::function<void(std::string const&)> log;
    TlsStamp seen;
    TlsPair present;
    std::string wrong;                     // With the files at `seen`.
    std::optional<std::int64_t> notedDays; // For which the end was logged.
};

} // namespace zelvo::service
