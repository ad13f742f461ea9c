#pragma once

#include "ZelvoGateway/base/ApiKey.h"
#include "base/Clock.h"

#include <string>

namespace zelvo::service {

/// What shows that a pass was issued by this gateway.
struct PassProof {
    std::string end;   ///< RecordingPass::until as a number
    std::string keyId; ///< to which it was issued; empty for the console
    std::string signature;

    /// `end` as a date, which means something only if the signature is valid.
    Date until() const;
};

/// The right to watch one recording for a while, for whoever has it.
struct RecordingPass {
    Date until;
    PassProof proof;
};

/// Issues passes and checks them. A pass is signed with a secret that is derived from the API key and serves
/// nothing else, so nothing is stored, and a new key ends all of them. Thread: any.
class RecordingPasses {
public:
    explicit RecordingPasses(ApiKey const& key);

    RecordingPass issue(std::string const& id, std::string const& keyId, Date until) const;
    /// proof   as a caller gives it
    bool isValid(std::string const& id, PassProof const& proof, Date now) const;

private:
    std::string signatureFor(std::string const& id, std::string const& keyId, std::string const& end) const;

    std::string secret;
};

} // namespace zelvo::service
