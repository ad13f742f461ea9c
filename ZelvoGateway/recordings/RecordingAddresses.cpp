#include "ZelvoGateway/recordings/RecordingAddresses.h"

#include "ZelvoGateway/base/Secrets.h"
#include "ZelvoGateway/store/Rows.h"

#include <charconv>

namespace zelvo::service {

std::string RecordingAddresses::proof(std::string const& id, std::string const& until) const
{
    return signatureOf("film " + id + " " + until, key.value());
}

std::string RecordingAddresses::path(std::string const& id, Date until) const
{
    std::string const end = std::to_string(millisecondsOf(until));
    return "/films/" + id + "?until=" + end + "&proof=" + proof(id, end);
}

bool RecordingAddresses::isGood(std::string const& id,
                                std::string const& until,
                                std::string const& candidate,
                                Date now) const
{
    if (!sameSecret(candidate, proof(id, until)))
        return false;
    std::int64_t end = 0;
    std::from_chars(until.data(), until.data() + until.size(), end);
    return millisecondsOf(now) < end;
}

} // namespace zelvo::service
