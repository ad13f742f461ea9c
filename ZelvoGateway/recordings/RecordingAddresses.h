#pragma once

#include "ZelvoGateway/base/ApiKey.h"
#include "base/Clock.h"

#include <string>

namespace zelvo::service {

/// Makes the addresses under which films can be watched for a while, and knows them again. They carry their
/// own proof, so nothing is kept; with another API key all of them are worth nothing. Thread: any.
class RecordingAddresses {
public:
    explicit RecordingAddresses(ApiKey const& key) : key(key) {}

    /// "/films/ID?until=...&proof=...".
    std::string path(std::string const& id, Date until) const;
    bool
    isGood(std::string const& id, std::string const& until, std::string const& candidate, Date now) const;

private:
    std::string proof(std::string const& id, std::string const& until) const;

    ApiKey const& key;
};

} // namespace zelvo::service
