#include "ZelvoGateway/recordings/RecordingPasses.h"

#include "ZelvoGateway/base/Dates.h"
#include "ZelvoGateway/base/Secrets.h"

#include <charconv>

namespace zelvo::service {

RecordingPasses::RecordingPasses(ApiKey const& key) : secret(signatureOf("recording passes", key.value())) {}

std::string RecordingPasses::proofOf(std::string const& id, std::string const& end) const
{
    return signatureOf("film " + id + " " + end, secret);
}

RecordingPass RecordingPasses::issue(std::string const& id, Date until) const
{
    std::string end = std::to_string(millisecondsOf(until));
    std::string proof = proofOf(id, end);
    return {.until = until, .end = std::move(end), .proof = std::move(proof)};
}

bool RecordingPasses::isValid(std::string const& id,
                              std::string const& end,
                              std::string const& proof,
                              Date now) const
{
    if (!sameSecret(proof, proofOf(id, end)))
        return false;
    std::int64_t last = 0;
    std::from_chars(end.data(), end.data() + end.size(), last);
    return millisecondsOf(now) < last;
}

} // namespace zelvo::service
