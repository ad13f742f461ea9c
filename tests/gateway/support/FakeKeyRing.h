#pragma once

#include "ZelvoGateway/base/KeyRing.h"

#include <boost/signals2/signal.hpp>

#include <map>
#include <set>

namespace zelvo::service {

/// Knows the keys that a test gives it.
class FakeKeyRing final : public KeyRing {
public:
    std::map<std::string, Caller, std::less<>> callers; // by key
    std::set<std::string> revokedKeys;                  // ids

    std::optional<Caller> callerWith(std::string_view key) override
    {
        auto const found = callers.find(key);
        return found == callers.end() || !isCurrent(found->second.keyId) ? std::nullopt
                                                                         : std::optional(found->second);
    }
    bool isCurrent(std::string const& keyId) override { return !revokedKeys.contains(keyId); }
    bool isCurrent(Caller const& caller) override { return isCurrent(caller.keyId); }
    boost::signals2::connection
    observeRevocations(std::function<void(std::string const& keyId)> const& observer) override
    {
        return revoked.connect(std::move(observer));
    }
    void revoke(std::string const& keyId)
    {
        revokedKeys.insert(keyId);
        revoked(keyId);
    }

private:
    boost::signals2::signal<void(std::string const&)> revoked;
};

} // namespace zelvo::service
