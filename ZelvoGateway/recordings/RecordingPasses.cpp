#include "ZelvoGateway/recordings/RecordingPasses.h"

#include "ZelvoGateway/base/Dates.h"
#include "ZelvoGateway/base/Secrets.h"

#include <charconv>

namespace zelvo::service {

Date PassProof::until() const
{
    std::int64_t last = 0;
    std::from_chars(end.data(), end.data() + end.size(), last);
    return dateOfMilliseconds(last);
}

RecordingPasses::RecordingPasses(ApiKey const& key) : secret(signatureOf("recording passes", key.value())) {}

/// The parts are ids and a number, which hold no blanks where this gateway made them.
std::string
RecordingPasses::signatureFor(std::string const& id, std::string const& keyId, std::string const& end) const
{
    return signatureOf("recording " + id + " " + keyId + " " + end, secret);
}

RecordingPass RecordingPasses::issue(std::string const& id, std::string const& keyId, Date until) const
{
    std::string const end = std::to_string(millisecondsOf(until));
    return {.until = until, .proof = {.end = end, .keyId = keyId, .signature = signatureFor(id, keyId, end)}};
}

bool RecordingPasses::isValid(std::string const& id, PassProof const& proof, Date now) const
{
    if (!sameSecret(proof.signature, signatureFor(id, proof.keyId, proof.end)))
        return false;
    return now < proof.until();
}

} // namespace zelvo::service
