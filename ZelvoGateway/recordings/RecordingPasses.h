#pragma once

#include "ZelvoGateway/base/ApiKey.h"
#include "base/Clock.h"

#include <string>

namespace zelvo::service {

/// The right to watch one recording for a while, for whoever has it.
struct RecordingPass {
    Date until;
    std::string end;   ///< `until` as a number
    std::string proof; ///< that this gateway issued it
};

/// Issues passes and checks them. A pass is signed with a secret that is derived from the API key and serves
/// nothing else, so nothing is stored, and a new key ends all of them. Thread: any.
class RecordingPasses {
public:
    explicit RecordingPasses(ApiKey const& key);

    RecordingPass issue(std::string const& id, Date until) const;
    /// end, proof  as a caller gives them
    bool isValid(std::string const& id, std::string const& end, std::string const& proof, Date now) const;

private:
    std::string proofOf(std::string const& id, std::string const& end) const;

    std::string const secret;
};

} // namespace zelvo::service
